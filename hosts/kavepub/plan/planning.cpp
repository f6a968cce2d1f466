// Puts the steps of planning together.
#include "hosts/kavepub/plan/planning.h"

#include <algorithm>
#include <set>
#include <system_error>
#include <utility>

#include "hosts/kavepub/plan/gathering.h"
#include "hosts/kavepub/plan/listed_books.h"
#include "hosts/kavepub/plan/naming.h"

namespace {

namespace fs = std::filesystem;

// Below the one folder that was named; where there are more, or files, what they were named.
std::string NameOf(const BookOrder& order, const Selection& selection) {
  std::error_code error;
  const fs::path& source = order.folder.empty() ? order.inputs.front() : order.folder;
  const fs::path& root = selection.inputs.front();
  const bool isOne = selection.inputs.size() == 1 && fs::is_directory(root, error);
  if (!isOne) return source.lexically_normal().string();
  const std::string name = NameBelow(root, fs::absolute(source).native());
  return name.empty() ? source.filename().string() : name;
}

}  // namespace

Plan PlanBooks(const Selection& selection) {
  if (!selection.list.empty()) return {BooksOfList(selection), {}};
  Gathering gathering = Gather(selection.inputs, selection.separate);
  NameBooks(gathering.drafts, selection);

  Plan plan;
  std::set<fs::path> books;
  for (Draft& draft : gathering.drafts) {
    books.insert(draft.order.output);
    draft.order.name = NameOf(draft.order, selection);
    if (selection.share.Holds(draft.order.name)) plan.orders.push_back(std::move(draft.order));
  }
  // What was made earlier lies beside its source.
  for (Skipped& skipped : gathering.skipped) {
    if (!books.contains(skipped.file)) plan.skipped.push_back(std::move(skipped));
  }
  return plan;
}
