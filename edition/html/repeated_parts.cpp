// Compares the parts of all pages.
#include "edition/html/repeated_parts.h"

#include <algorithm>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace {
constexpr size_t kFewestPages = 2;
}

std::vector<std::vector<bool>> RepeatedParts(const SitePages& pages) {
  std::unordered_map<std::string, size_t> counts;  // of pages that have such a part
  for (const SitePage& page : pages) {
    std::unordered_set<std::string> seen;
    for (const PagePart& part : page.content.parts) {
      if (seen.insert(part.sameness).second) ++counts[part.sameness];
    }
  }
  const size_t many = std::max(kFewestPages, (pages.size() + 2) / 3);
  std::vector<std::vector<bool>> repeated;
  for (const SitePage& page : pages) {
    std::vector<bool> own;
    for (const PagePart& part : page.content.parts) {
      own.push_back(!part.hasTitle && part.leads && counts[part.sameness] >= many);
    }
    repeated.push_back(std::move(own));
  }
  return repeated;
}
