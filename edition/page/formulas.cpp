// MathML for readers that do not know it: signs and letters in a line.
#include "edition/page/formulas.h"

#include <algorithm>
#include <iterator>

namespace {

using enum ElementRule::Fate;

constexpr struct {
  std::string_view name;
  ElementRule::Fate fate;
  const char* before;
  const char* after;
} kFormulaElements[] = {
    {"annotation", kDropped, "", ""}, {"annotation-xml", kDropped, "", ""},
    {"msqrt", kKept, "√(", ")"},      {"mroot", kKept, "√(", ")"},
    {"mtd", kKept, "", " "},          {"mtr", kKept, "", " "},
};

// Children of a parent that are looked at: a formula has few, and comments are children too.
constexpr unsigned kLooked = 64;

// What the second and third part of an element are, beside its first.
constexpr struct {
  std::string_view parent;
  const char* second;
  const char* third;
} kParts[] = {
    {"msub", "sub", ""},   {"msup", "sup", ""},  {"msubsup", "sub", "sup"},
    {"munder", "sub", ""}, {"mover", "sup", ""}, {"munderover", "sub", "sup"},
};

// The number of an element among those of its parent.
size_t NumberOf(const GumboNode& element) {
  size_t number = 0;
  const GumboVector& children = element.parent->v.element.children;
  for (unsigned i = 0; i < std::min(children.length, kLooked) && number < 3; ++i) {
    const auto* child = static_cast<const GumboNode*>(children.data[i]);
    if (child == &element) return number;
    if (IsElement(*child)) ++number;
  }
  return number;
}

bool IsIn(const GumboNode& element, std::string_view parent) {
  return element.parent != nullptr && IsElement(*element.parent) &&
         NameOf(*element.parent) == parent;
}

const auto* RowOf(const GumboNode& element) {
  const std::string_view name = NameOf(element);
  const auto* row = std::find_if(std::begin(kFormulaElements), std::end(kFormulaElements),
                                 [&](const auto& known) { return known.name == name; });
  return row == std::end(kFormulaElements) ? nullptr : row;
}

bool IsLongPart(const GumboNode& element) {
  return NameOf(element) == "mrow" && element.v.element.children.length > 1;
}

}  // namespace

ElementRule RuleOfFormula(const GumboNode& element) {
  const auto* row = RowOf(element);
  ElementRule rule{"", "span", Place::kInText, Model::kText, row == nullptr ? kKept : row->fate};
  for (const auto& part : kParts) {
    if (!IsIn(element, part.parent)) continue;
    const size_t number = NumberOf(element);
    if (number == 1) rule.name = part.second;
    if (number == 2 && *part.third != '\0') rule.name = part.third;
  }
  return rule;
}

const char* TextBeforeFormula(const GumboNode& element) {
  if (IsIn(element, "mfrac")) {
    if (NumberOf(element) == 1) return IsLongPart(element) ? "/(" : "/";
    return IsLongPart(element) ? "(" : "";
  }
  const auto* row = RowOf(element);
  return row == nullptr ? "" : row->before;
}

const char* TextAfterFormula(const GumboNode& element) {
  if (IsIn(element, "mfrac") && IsLongPart(element)) return ")";
  const auto* row = RowOf(element);
  return row == nullptr ? "" : row->after;
}
