// "kavepub convert": plans the books, makes them, reports.
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <initializer_list>
#include <memory>
#include <string_view>
#include <system_error>

#include "hosts/kavepub/commands/commands.h"
#include "hosts/kavepub/console/failure.h"
#include "hosts/kavepub/console/interruption.h"
#include "hosts/kavepub/make/batch.h"
#include "hosts/kavepub/make/reporters.h"
#include "hosts/kavepub/plan/input_kind.h"
#include "hosts/kavepub/record/journal.h"
#include "hosts/kavepub/work/pictures.h"
#include "hosts/kavepub/work/plain_options.h"
#include "hosts/kavepub/work/reader_book.h"

namespace {

constexpr char kTitle[] = "title";
constexpr char kAuthor[] = "author";
constexpr char kCover[] = "cover";

// Whether it may well be that nothing is to be made.
bool IsPartOfMore(const Selection& selection) {
  return !selection.list.empty() || !selection.share.IsWhole();
}

// A single file is what a person names; anything else is a batch.
bool IsBatch(const Selection& selection, size_t books) {
  std::error_code error;
  if (IsPartOfMore(selection)) return true;
  return books > 1 || std::filesystem::is_directory(selection.inputs.front(), error);
}

// The first option of some that was chosen with a value of its own; null when there is none.
const std::string* FindChosen(const EditionOptions& chosen,
                              std::initializer_list<std::string_view> names) {
  for (const auto& [name, value] : chosen) {
    const bool isNamed = std::find(names.begin(), names.end(), name) != names.end();
    if (isNamed && (name != kCover || !FileOf(name, value).empty())) return &name;
  }
  return nullptr;
}

// What one book can have must not be given to many, nor to one that brings its own.
void Check(const std::vector<BookOrder>& orders, const BookOptions& options) {
  const bool isNamed = FindChosen(options.chosen, {kTitle, kAuthor, kCover}) != nullptr;
  for (const BookOrder& order : orders) {
    if (isNamed && order.kind == BookKind::kMobi && !IsForReaders(order, options)) {
      throw WrongUsage(order.inputs.front(),
                       "a MOBI book brings its own title, author and cover; leave out --title, "
                       "--author and --cover");
    }
  }
  const std::string* ofOne =
      FindChosen(options.chosen, {kTitle, kCover, "description", "isbn", "series-index"});
  if (orders.size() > 1 && ofOne != nullptr) {
    throw WrongUsage("--" + *ofOne + " is for one book, but " + std::to_string(orders.size()) +
                     " are to be made; convert them one by one");
  }
}

// A book of one word tells what the library has against the options.
void TryOut(const EditionOptions& options) {
  EditionOptions tried = {{kCover, "none"}};  // drawing one takes longer than all the rest
  for (const auto& [name, value] : options) {
    if (name == "chapters" || !FileOf(name, value).empty()) tried.emplace_back(name, value);
  }
  if (tried.size() == 1) return;
  EditionJob job(tried);
  job.AddStandardInput("word.txt", "word");
  job.Run([](std::string_view) { return true; }, [](double) {});
}

// What would fail for every book is wrong from the beginning.
void CheckValues(const BookOptions& options) try {
  const EditionJob takes(options.chosen);
  for (const auto& [name, value] : options.chosen) {
    const std::filesystem::path file = FileOf(name, value);
    if (!file.empty()) RequireReadable(file);
  }
  const PlainOptions plain = PlainOptionsOf(options.chosen);
  const bool isPlain = options.edition == Edition::kPlain;
  if (isPlain && !plain.ignored.empty()) {
    throw Failure("the plain edition knows no --" + plain.ignored.front() +
                  "; leave it out, or make the reader's edition");
  }
  // Those that plain books can have are looked at more closely.
  const bool isPicture = !plain.cover.empty() && !PictureExtension(plain.cover).empty();
  if (isPicture || (isPlain && !plain.cover.empty())) RequirePicture(plain.cover);
  TryOut(options.chosen);
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
  if (arguments.options.dryRun) return ReportPlan(arguments.quiet, isBatch);
  return isBatch ? ReportManyBooks(books, isQuiet) : ReportOneBook(isQuiet);
}

// Says once what is not defended.
Workshop OpenWorkshop(const ConvertArguments& arguments) {
  Workshop workshop(arguments.options.sandbox);
  if (!workshop.Lacking().empty() && !arguments.quiet) {
    std::fprintf(stderr,
                 "kavepub: warning: this system has no %s, so that books are made in cells that "
                 "leak; see `kavepub doctor`\n",
                 workshop.Lacking().c_str());
  }
  return workshop;
}

}  // namespace

int RunConvert(const ConvertArguments& arguments) {
  CheckStandardOutput(arguments);
  const Workshop workshop = OpenWorkshop(arguments);
  CheckValues(arguments.options);
  const Plan plan = PlanBooks(arguments.selection);
  const std::vector<BookOrder>& orders = plan.orders;
  if (orders.empty() && !IsPartOfMore(arguments.selection)) {
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
  const unsigned jobs = arguments.options.dryRun ? 1 : arguments.jobs;
  BookOptions options = arguments.options;
  options.isAlone = jobs == 1 || orders.size() == 1;
  const Making making = {options, workshop, isBatch ? Existing::kKeepIfSame : Existing::kRefuse};
  if (arguments.journal.empty() || options.dryRun) {
    MakeBooks(orders, making, jobs, *reporter);
    reporter->Close();
  } else {
    Journal journal(arguments.journal, arguments.selection.share);
    JournalingReporter both(*reporter, journal);
    MakeBooks(orders, making, jobs, both);
    reporter->Close();
    journal.Close();
  }
  if (WasInterrupted() && reporter->Result().Finished() < orders.size()) return kInterrupted;
  return reporter->Result().failed == 0 ? kDone : kFailed;
}
