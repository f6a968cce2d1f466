// "kavepub convert": plans the books, makes them, reports.
#include <cstdio>
#include <memory>
#include <system_error>

#include "kavepub/batch.h"
#include "kavepub/commands.h"
#include "kavepub/failure.h"
#include "kavepub/interruption.h"
#include "kavepub/reporters.h"

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
      throw Failure(order.inputs.front(),
                    "a MOBI book brings its own title, author and cover; leave out --title, "
                    "--author and --cover");
    }
  }
  if (orders.size() > 1 && (options.title || !options.cover.empty())) {
    throw Failure("--title and --cover are for one book, but " + std::to_string(orders.size()) +
                  " are to be made; convert them one by one");
  }
}

void PrintPlan(const std::vector<BookOrder>& orders) {
  for (const BookOrder& order : orders) {
    if (!order.refusal.empty()) {
      std::printf("cannot convert %s\n", order.refusal.c_str());
      continue;
    }
    const std::string more =
        order.inputs.size() > 1 ? " and " + std::to_string(order.inputs.size() - 1) + " more" : "";
    std::printf("%s%s -> %s (%s)\n", order.inputs.front().c_str(), more.c_str(),
                order.output.c_str(), NameOf(order.kind));
  }
}

}  // namespace

int RunConvert(const ConvertArguments& arguments) {
  const std::vector<BookOrder> orders = PlanBooks(arguments.selection);
  if (orders.empty()) {
    throw Failure(arguments.selection.inputs.front(), "holds nothing that can be converted");
  }
  Check(orders, arguments.options);
  if (arguments.dryRun) {
    PrintPlan(orders);
    return kDone;
  }
  const bool isBatch = IsBatch(arguments.selection, orders.size());
  const std::unique_ptr<CountingReporter> reporter =
      arguments.json ? ReportInJson()
      : isBatch      ? ReportManyBooks(orders.size(), arguments.quiet)
                     : ReportOneBook(arguments.quiet);
  MakeBooks(orders, arguments.options, isBatch ? Existing::kKeepIfNewer : Existing::kRefuse,
            arguments.jobs, *reporter);
  reporter->Close();
  if (WasInterrupted() && reporter->Result().Finished() < orders.size()) return kInterrupted;
  return reporter->Result().failed == 0 ? kDone : kFailed;
}
