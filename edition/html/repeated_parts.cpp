// Compares the parts of all pages.
#include "edition/html/repeated_parts.h"

#include <algorithm>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace {

constexpr size_t kFewestPages = 2;

// What two parts that say the same have in common.
std::string WordsOf(const PagePart& part) {
  return part.sameness + '\n' + std::to_string(part.text);
}

// A bar may say what page it is on, but is not headed by it.
std::string BarOf(const PagePart& part) {
  return part.sameness + '\n' + part.title;
}

// Of pages, how many have a part.
class Counts {
 public:
  explicit Counts(const SitePages& pages) : many(std::max(kFewestPages, (pages.size() + 2) / 3)) {
    for (const SitePage& page : pages) {
      std::unordered_set<std::string> seen;
      for (const PagePart& part : page.content.parts) {
        Count(part.leads ? BarOf(part) : WordsOf(part), seen);
      }
    }
  }

  bool AreMany(const std::string& part) const { return counts.at(part) >= many; }

 private:
  void Count(std::string part, std::unordered_set<std::string>& seen) {
    if (seen.insert(part).second) ++counts[std::move(part)];
  }

  size_t many;
  std::unordered_map<std::string, size_t> counts;
};

}  // namespace

std::vector<std::vector<bool>> RepeatedParts(const SitePages& pages) {
  const Counts counts(pages);
  std::vector<std::vector<bool>> repeated;
  std::unordered_set<std::string> said;
  for (const SitePage& page : pages) {
    std::vector<bool> own;
    for (const PagePart& part : page.content.parts) {
      if (part.leads) {
        own.push_back(counts.AreMany(BarOf(part)));
      } else {
        // What is no bar is said once.
        const std::string words = WordsOf(part);
        own.push_back(counts.AreMany(words) && !said.insert(words).second);
      }
    }
    repeated.push_back(std::move(own));
  }
  return repeated;
}
