// Measures how far words are from each other.
#include "hosts/kavepub/commands/suggestion.h"

#include <algorithm>
#include <utility>

namespace {

constexpr size_t kShortestBeginning = 4;  // that stands for the word it begins

// How many letters have to be put in, taken away, changed or swapped with the next one.
size_t Distance(std::string_view from, std::string_view to) {
  std::vector<size_t> before(to.size() + 1);
  std::vector<size_t> last(to.size() + 1);
  std::vector<size_t> row(to.size() + 1);
  for (size_t j = 0; j <= to.size(); ++j) row[j] = j;
  for (size_t i = 1; i <= from.size(); ++i) {
    before = std::exchange(last, row);
    row[0] = i;
    for (size_t j = 1; j <= to.size(); ++j) {
      const size_t changed = last[j - 1] + (from[i - 1] == to[j - 1] ? 0 : 1);
      row[j] = std::min({last[j] + 1, row[j - 1] + 1, changed});
      const bool isSwapped = i > 1 && j > 1 && from[i - 1] == to[j - 2] && from[i - 2] == to[j - 1];
      if (isSwapped) row[j] = std::min(row[j], before[j - 2] + 1);
    }
  }
  return row[to.size()];
}

// Beginnings are near; so is what has at most one wrong letter in three.
size_t Farness(std::string_view word, std::string_view known) {
  if (word.size() >= kShortestBeginning && known.starts_with(word)) return 0;
  return Distance(word, known);
}

}  // namespace

std::string Suggestion(std::string_view word, const std::vector<Entry>& known) {
  const auto nearest =
      std::min_element(known.begin(), known.end(), [word](const Entry& one, const Entry& other) {
        return Farness(word, one.name) < Farness(word, other.name);
      });
  if (nearest == known.end() || Farness(word, nearest->name) * 3 > word.size()) return {};
  return " (did you mean " + nearest->name + "?)";
}
