// Puts the steps of planning together.
#include "hosts/kavepub/plan/planning.h"

#include <set>
#include <utility>

#include "hosts/kavepub/plan/gathering.h"
#include "hosts/kavepub/plan/naming.h"

Plan PlanBooks(const Selection& selection) {
  Gathering gathering = Gather(selection.inputs, selection.separate);
  NameBooks(gathering.drafts, selection);

  Plan plan;
  std::set<std::filesystem::path> books;
  for (Draft& draft : gathering.drafts) {
    books.insert(draft.order.output);
    plan.orders.push_back(std::move(draft.order));
  }
  // What was made earlier lies beside its source.
  for (Skipped& skipped : gathering.skipped) {
    if (!books.contains(skipped.file)) plan.skipped.push_back(std::move(skipped));
  }
  return plan;
}
