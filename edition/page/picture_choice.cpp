// The best of the files that a page offers for one picture.
#include "edition/page/picture_choice.h"

#include <algorithm>
#include <charconv>
#include <iterator>

#include "edition/page/words.h"

namespace {

// Where pages have the picture that a script is to show.
constexpr const char* kLazy[] = {"data-src", "data-original", "data-lazy-src"};

constexpr struct {
  std::string_view element;
  const char* attribute;
} kShown[] = {{"embed", "src"}, {"iframe", "src"}, {"image", "src"},
              {"img", "src"},   {"input", "src"},  {"object", "data"}};

// Elements that show anything show a picture where its name says so.
bool IsCalledPicture(std::string_view target) {
  constexpr std::string_view kEndings[] = {".svg", ".png", ".jpg", ".jpeg", ".gif", ".webp"};
  const std::string name = Lowered(target.substr(0, target.find_first_of("?#")));
  return name.starts_with("data:image/") ||
         std::any_of(std::begin(kEndings), std::end(kEndings),
                     [&](std::string_view ending) { return name.ends_with(ending); });
}

struct Candidate {
  std::string target;
  double size;
};

// "small.png 480w, large.png 2x"
void AddCandidates(std::string_view set, std::vector<Candidate>& candidates) {
  while (!set.empty()) {
    const size_t begin = std::min(set.find_first_not_of(" \t\r\n\f,"), set.size());
    set.remove_prefix(begin);
    const size_t end = std::min(set.find_first_of(kBlanks), set.size());
    std::string_view target = set.substr(0, end);
    set.remove_prefix(end);
    double size = 1;
    if (target.ends_with(',')) {
      target.remove_suffix(1);
    } else {
      const size_t comma = std::min(set.find(','), set.size());
      const size_t number = set.substr(0, comma).find_first_of("0123456789.");
      if (number != std::string_view::npos) {
        std::from_chars(set.data() + number, set.data() + comma, size);
      }
      set.remove_prefix(comma);
    }
    if (!target.empty()) candidates.push_back({std::string(target), size});
  }
}

}  // namespace

bool IsPictureElement(std::string_view name) {
  return std::any_of(std::begin(kShown), std::end(kShown),
                     [&](const auto& row) { return row.element == name; });
}

std::vector<std::string> PictureTargets(const GumboNode& element, std::string_view name) {
  const auto* row = std::find_if(std::begin(kShown), std::end(kShown),
                                 [&](const auto& shown) { return shown.element == name; });
  const bool isPicture = name == "img" || name == "image";
  std::vector<Candidate> candidates;
  const GumboNode* parent = element.parent;
  if (isPicture && parent != nullptr && IsElement(*parent) && NameOf(*parent) == "picture") {
    const GumboVector& children = parent->v.element.children;
    for (unsigned i = 0; i < children.length; ++i) {
      const auto& child = *static_cast<const GumboNode*>(children.data[i]);
      const bool isSource = IsElement(child) && child.v.element.tag == GUMBO_TAG_SOURCE;
      if (!isSource || FindAttribute(child, "media") != nullptr) continue;
      AddCandidates(AttributeOf(child, "srcset"), candidates);
    }
  }
  if (isPicture) AddCandidates(AttributeOf(element, "srcset"), candidates);
  std::stable_sort(
      candidates.begin(), candidates.end(),
      [](const Candidate& one, const Candidate& other) { return one.size > other.size; });
  std::vector<std::string> targets;
  targets.reserve(candidates.size() + std::size(kLazy) + 1);
  for (Candidate& candidate : candidates) targets.push_back(std::move(candidate.target));
  if (isPicture) {
    for (const char* attribute : kLazy) {
      const std::string_view target = AttributeOf(element, attribute);
      if (!target.empty()) targets.emplace_back(target);
    }
  }
  const std::string_view shown = AttributeOf(element, row->attribute);
  const bool isForPictures = isPicture || (name == "input" ? AttributeOf(element, "type") == "image"
                                                           : IsCalledPicture(shown));
  if (!shown.empty() && isForPictures) targets.emplace_back(shown);
  return targets;
}
