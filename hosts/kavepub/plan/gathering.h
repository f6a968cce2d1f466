// Sorting what a person names into books.
#ifndef KAVEPUB_GATHERING_H
#define KAVEPUB_GATHERING_H

#include <filesystem>
#include <optional>
#include <vector>

#include "hosts/kavepub/plan/draft.h"
#include "hosts/kavepub/plan/planning.h"

struct Gathering {
  std::vector<Draft> drafts;
  std::vector<Skipped> skipped;
  std::vector<std::filesystem::path> folders;  // that were left for later, of GatherFolder
};

// The books of PlanBooks, still without a place.
Gathering Gather(const std::vector<std::filesystem::path>& inputs, bool separate);

// The books of what lies in a folder and not deeper.
Gathering GatherFolder(const std::filesystem::path& folder);

// The one book of a file, or of what lies in a folder and not deeper: none when each file of the
// folder is a book of its own.
std::optional<BookOrder> GatherOne(const std::filesystem::path& input);

#endif
