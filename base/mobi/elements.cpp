// The table of elements.
#include "base/mobi/elements.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

namespace kav_mobi {
namespace {

// Sorted by name. Elements missing here lose their tags and keep their content.
constexpr Element kElements[] = {
    {"a", "a", Role::kInline, "", ""},
    {"abbr", "abbr", Role::kInline, "", ""},
    {"acronym", "acronym", Role::kInline, "", ""},
    {"address", "address", Role::kParagraph, "", ""},
    {"article", "div", Role::kBlock, "", ""},
    {"aside", "div", Role::kBlock, "", ""},
    {"b", "b", Role::kInline, "", ""},
    {"bdo", "bdo", Role::kInline, "", ""},
    {"big", "big", Role::kInline, "", ""},
    {"blockquote", "blockquote", Role::kBlock, "", ""},
    {"body", "div", Role::kBody, "", ""},
    {"br", "br", Role::kBreak, "", ""},
    {"caption", "caption", Role::kItem, "", ""},
    {"center", "div", Role::kBlock, "", ""},
    {"cite", "cite", Role::kInline, "", ""},
    {"code", "code", Role::kInline, "", ""},
    {"dd", "dd", Role::kItem, "", ""},
    {"del", "del", Role::kInline, "", ""},
    {"dfn", "dfn", Role::kInline, "", ""},
    {"dir", "ul", Role::kContainer, "", "li"},
    {"div", "div", Role::kBlock, "", ""},
    {"dl", "dl", Role::kContainer, "", "dd"},
    {"dt", "dt", Role::kItem, "", ""},
    {"em", "em", Role::kInline, "", ""},
    {"figcaption", "div", Role::kBlock, "", ""},
    {"figure", "div", Role::kBlock, "", ""},
    {"font", "span", Role::kInline, "", ""},
    {"footer", "div", Role::kBlock, "", ""},
    {"h1", "h1", Role::kParagraph, "", ""},
    {"h2", "h2", Role::kParagraph, "", ""},
    {"h3", "h3", Role::kParagraph, "", ""},
    {"h4", "h4", Role::kParagraph, "", ""},
    {"h5", "h5", Role::kParagraph, "", ""},
    {"h6", "h6", Role::kParagraph, "", ""},
    {"head", "", Role::kDiscarded, "", ""},
    {"header", "div", Role::kBlock, "", ""},
    {"hr", "hr", Role::kRule, "", ""},
    {"i", "i", Role::kInline, "", ""},
    {"iframe", "", Role::kDiscarded, "", ""},
    {"image", "img", Role::kPicture, "", ""},
    {"img", "img", Role::kPicture, "", ""},
    {"ins", "ins", Role::kInline, "", ""},
    {"kbd", "kbd", Role::kInline, "", ""},
    {"li", "li", Role::kItem, "", ""},
    {"main", "div", Role::kBlock, "", ""},
    {"mbp:pagebreak", "p", Role::kPageBreak, "", ""},
    {"menu", "ul", Role::kContainer, "", "li"},
    {"nav", "div", Role::kBlock, "", ""},
    {"ol", "ol", Role::kContainer, "", "li"},
    {"p", "p", Role::kParagraph, "", ""},
    {"pre", "pre", Role::kParagraph, "", ""},
    {"q", "q", Role::kInline, "", ""},
    {"s", "span", Role::kInline, "text-decoration: line-through", ""},
    {"samp", "samp", Role::kInline, "", ""},
    {"script", "", Role::kDiscarded, "", ""},
    {"section", "div", Role::kBlock, "", ""},
    {"small", "small", Role::kInline, "", ""},
    {"span", "span", Role::kInline, "", ""},
    {"strike", "span", Role::kInline, "text-decoration: line-through", ""},
    {"strong", "strong", Role::kInline, "", ""},
    {"style", "", Role::kDiscarded, "", ""},
    {"sub", "sub", Role::kInline, "", ""},
    {"sup", "sup", Role::kInline, "", ""},
    {"table", "table", Role::kContainer, "", "tr"},
    {"tbody", "tbody", Role::kItem, "", "tr"},
    {"td", "td", Role::kItem, "", ""},
    {"template", "", Role::kDiscarded, "", ""},
    {"tfoot", "tfoot", Role::kItem, "", "tr"},
    {"th", "th", Role::kItem, "", ""},
    {"thead", "thead", Role::kItem, "", "tr"},
    {"title", "", Role::kDiscarded, "", ""},
    {"tr", "tr", Role::kItem, "", "td"},
    {"tt", "tt", Role::kInline, "", ""},
    {"u", "span", Role::kInline, "text-decoration: underline", ""},
    {"ul", "ul", Role::kContainer, "", "li"},
    {"var", "var", Role::kInline, "", ""},
};

static_assert(std::is_sorted(std::begin(kElements), std::end(kElements),
                             [](const Element& a, const Element& b) { return a.name < b.name; }));

constexpr size_t kLetters = 26;

// Where the names begin that begin with each letter, and the end of all.
constexpr std::array<size_t, kLetters + 1> kBegins = [] {
  std::array<size_t, kLetters + 1> begins{};
  for (size_t letter = 0; letter <= kLetters; ++letter) {
    while (begins[letter] < std::size(kElements) &&
           kElements[begins[letter]].name.front() < static_cast<char>('a' + letter)) {
      ++begins[letter];
    }
  }
  return begins;
}();

constexpr size_t kLongestName = 16;

using ParentAndItem = std::pair<std::string_view, std::string_view>;
constexpr std::array<ParentAndItem, 16> kItems = {{
    {"ul", "li"},
    {"ol", "li"},
    {"dir", "li"},
    {"menu", "li"},
    {"dl", "dt"},
    {"dl", "dd"},
    {"table", "tr"},
    {"tbody", "tr"},
    {"thead", "tr"},
    {"tfoot", "tr"},
    {"tr", "td"},
    {"tr", "th"},
    {"table", "tbody"},
    {"table", "thead"},
    {"table", "tfoot"},
    {"table", "caption"},
}};

}  // namespace

const Element* FindElement(std::string_view name) {
  std::array<char, kLongestName> lower{};
  if (name.size() > lower.size()) return nullptr;
  std::transform(name.begin(), name.end(), lower.begin(), [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  });
  const std::string_view key(lower.data(), name.size());
  if (key.empty() || key.front() < 'a' || key.front() > 'z') return nullptr;
  const auto letter = static_cast<size_t>(key.front() - 'a');
  for (size_t i = kBegins[letter]; i < kBegins[letter + 1]; ++i) {
    if (kElements[i].name == key) return &kElements[i];
  }
  return nullptr;
}

bool HoldsItem(std::string_view parent, std::string_view item) {
  return std::find(kItems.begin(), kItems.end(), ParentAndItem(parent, item)) != kItems.end();
}

}  // namespace kav_mobi
