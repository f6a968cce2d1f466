// Sorting what a person names into books.
#ifndef KAVEPUB_GATHERING_H
#define KAVEPUB_GATHERING_H

#include <filesystem>
#include <vector>

#include "hosts/kavepub/plan/draft.h"
#include "hosts/kavepub/plan/planning.h"

struct Gathering {
  std::vector<Draft> drafts;
  std::vector<Skipped> skipped;
};

// The books of PlanBooks, still without a place.
Gathering Gather(const std::vector<std::filesystem::path>& inputs, bool separate);

#endif
