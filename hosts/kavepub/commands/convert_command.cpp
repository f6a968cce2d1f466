// "kavepub convert": plans the books, makes them, reports.
#include <unistd.h>

#include <memory>
#include <system_error>

#include "hosts/kavepub/commands/commands.h"
#include "hosts/kavepub/console/failure.h"
#include "hosts/kavepub/console/interruption.h"
#include "hosts/kavepub/make/batch.h"
#include "hosts/kavepub/make/pictures.h"
#include "hosts/kavepub/make/reporters.h"

namespace {

// A single file is what a person names; anything else is a batch.
bool IsBatch(const Selection& selection, size_t books) {
  std::error_code error;
  return books > 1 || std::filesystem::is_directory(selection.inputs.front(), error);
}

// What one book can have must not be given to many, nor to one that brings its own.
void Check(const std::vector<BookOrder>& orders, const BookOptions& options) {
  const bool isNamed = options.title || options.author || !options.cover.empty();
  if (!isNamed) return;
  for (const BookOrder& order : orders) {
    if (order.kind == BookKind::kMobi) {
      throw WrongUsage(order.inputs.front(),
                       "a MOBI book brings its own title, author and cover; leave out --title, "
                       "--author and --cover");
    }
  }
  if (orders.size() > 1 && (options.title || !options.cover.empty())) {
    throw WrongUsage("--title and --cover are for one book, but " + std::to_string(orders.size()) +
                     " are to be made; convert them one by one");
  }
}

// What would fail for every book is wrong from the beginning.
void CheckValues(const BookOptions& options) try {
  if (!options.cover.empty()) RequirePicture(options.cover);
  if (options.decoding.encoding != kAutoEncoding) RequireEncoding(options.decoding.encoding);
  std::error_code error;
  if (!options.workDir.empty() && !std::filesystem::is_directory(options.workDir, error)) {
    throw Failure(options.workDir, "is no directory for working files; make it or name another");
  }
} catch (const Failure& failure) {
  throw WrongUsage(failure.what());
}

// A book on the standard output must be alone there, and with a reader that can make something of
// it.
void CheckStandardOutput(const ConvertArguments& arguments) {
  if (arguments.selection.output != kStandardStream || arguments.options.dryRun) return;
  if (arguments.json) throw WrongUsage("-o - and --json both need the standard output; drop one");
  if (isatty(STDOUT_FILENO) != 0) {
    throw WrongUsage(
        "the standard output is a terminal, which shows no books; name a file with -o");
  }
}

std::unique_ptr<CountingReporter> NewReporter(const ConvertArguments& arguments, size_t books,
                                              bool isBatch) {
  const bool isQuiet = arguments.quiet || arguments.selection.output == kStandardStream;
  if (arguments.json) return ReportInJson();
  if (arguments.options.dryRun) return ReportPlan(arguments.quiet);
  return isBatch ? ReportManyBooks(books, isQuiet) : ReportOneBook(isQuiet);
}

}  // namespace

int RunConvert(const ConvertArguments& arguments) {
  CheckStandardOutput(arguments);
  CheckValues(arguments.options);
  const Plan plan = PlanBooks(arguments.selection);
  const std::vector<BookOrder>& orders = plan.orders;
  if (orders.empty()) {
    const Skipped* first = plan.skipped.empty() ? nullptr : &plan.skipped.front();
    throw Failure(arguments.selection.inputs.front(),
                  "holds nothing that can be converted" +
                      (first ? " (" + first->file.string() + " " + first->reason + ")" : "") +
                      "; name texts, HTML, MOBI books or pictures");
  }
  Check(orders, arguments.options);
  const bool isBatch = IsBatch(arguments.selection, orders.size());
  const auto reporter = NewReporter(arguments, orders.size(), isBatch);
  for (const Skipped& skipped : plan.skipped) reporter->Skip(skipped);
  MakeBooks(orders, arguments.options, isBatch ? Existing::kKeepIfSame : Existing::kRefuse,
            arguments.options.dryRun ? 1 : arguments.jobs, *reporter);
  reporter->Close();
  if (WasInterrupted() && reporter->Result().Finished() < orders.size()) return kInterrupted;
  return reporter->Result().failed == 0 ? kDone : kFailed;
}
