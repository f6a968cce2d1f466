// Reads from left to right, and stops where something else stands than has to.
#include "edition/page/css_grammar.h"

#include <algorithm>
#include <cstdint>
#include <string>

#include "edition/page/words.h"

namespace {

constexpr std::string_view kOfFeatures =
    "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ.%/+- \t\r\n\f";

constexpr std::string_view kFontWords[] = {"xx-small", "x-small",  "small",  "medium", "large",
                                           "x-large",  "xx-large", "larger", "smaller"};
constexpr std::string_view kFontUnits[] = {"%",  "ch", "cm", "em", "ex", "in",
                                           "mm", "pc", "pt", "px", "rem"};
constexpr std::string_view kWholeFonts[] = {"inherit",     "caption",       "icon",      "menu",
                                            "message-box", "small-caption", "status-bar"};
constexpr std::string_view kBeforeFontSizes[] = {
    "normal", "italic", "oblique", "small-caps", "bold", "bolder", "lighter", "100",
    "200",    "300",    "400",     "500",        "600",  "700",    "800",     "900"};

bool BeginsName(char c) {
  return IsLetter(c) || c == '_' || static_cast<std::uint8_t>(c) >= 0x80;
}

class Scanner {
 public:
  explicit Scanner(std::string_view css) : rest(css) {}

  std::string_view Rest() const { return rest; }

  bool Take(std::string_view oneOf) {
    if (rest.empty() || oneOf.find(rest.front()) == std::string_view::npos) return false;
    rest.remove_prefix(1);
    return true;
  }

  bool TakeAll(std::string_view of) { return Advance(rest.find_first_not_of(of)); }

  bool TakeBlanks() { return TakeAll(kBlanks); }

  // Up to one of some characters outside brackets, or all.
  std::string_view TakeWord(std::string_view ends) {
    const std::string_view before = rest;
    for (size_t depth = 0; !rest.empty() && (depth > 0 || ends.find(rest.front()) == ends.npos);) {
      if (rest.front() == '(') ++depth;
      if (rest.front() == ')' && depth > 0) --depth;
      rest.remove_prefix(1);
    }
    return before.substr(0, before.size() - rest.size());
  }

  bool TakeName() {
    const size_t begin = rest.starts_with('-') ? 1 : 0;
    if (begin == rest.size() || !BeginsName(rest[begin])) return false;
    size_t end = begin + 1;
    while (end < rest.size() && (BeginsName(rest[end]) || rest[end] == '-' ||
                                 kDigits.find(rest[end]) != std::string_view::npos)) {
      ++end;
    }
    name = Lowered(rest.substr(0, end));
    return Advance(end);
  }

  // "ul > li.a + li:first-child"
  bool TakeSelector() {
    TakeBlanks();
    while (TakeCompound()) {
      const bool hasBlanks = TakeBlanks();
      if (rest.empty()) return true;
      if (Take(">+~"))
        TakeBlanks();
      else if (!hasBlanks)
        return false;
    }
    return false;
  }

  // "only screen and (max-width: 30em)"
  bool TakeMediaQuery() {
    TakeBlanks();
    if (TakeName()) {
      const bool isModified = name == "only" || name == "not";
      if (isModified && !(TakeBlanks() && TakeName())) return false;
      if (name == "and" || name == "or") return false;
    } else if (!TakeFeature()) {
      return false;
    }
    for (;;) {
      TakeBlanks();
      if (rest.empty() || rest.front() == ',') return true;
      if (!TakeName() || name != "and" || !TakeBlanks() || !TakeFeature()) return false;
    }
  }

 private:
  // Tells whether this is a step at all.
  bool Advance(size_t count) {
    count = std::min(count, rest.size());
    rest.remove_prefix(count);
    return count > 0;
  }

  bool TakeString() {
    if (rest.empty() || (rest.front() != '"' && rest.front() != '\'')) return false;
    const std::string_view string = rest.substr(0, rest.find(rest.front(), 1));
    if (string.size() == rest.size() || string.find_first_of("\\\n") != std::string_view::npos) {
      return false;
    }
    return Advance(string.size() + 1);
  }

  // "li.a[title]:hover"
  bool TakeCompound() {
    for (bool isOne = Take("*") || TakeName();; isOne = true) {
      if (!IsAtSimple()) return isOne;
      if (!TakeSimple()) return false;
    }
  }

  bool IsAtSimple() const {
    return !rest.empty() && std::string_view("#.[:").find(rest.front()) != std::string_view::npos;
  }

  bool TakeSimple(bool isNegated = false) {
    if (Take("#.")) return TakeName();
    return Take("[") ? TakeAttribute() : Take(":") && TakePseudo(isNegated);
  }

  bool TakeAttribute() {
    TakeBlanks();
    if (!TakeName()) return false;
    TakeBlanks();
    if (Take("]")) return true;
    Take("~|^$*");
    if (!Take("=")) return false;
    TakeBlanks();
    if (!TakeString() && !TakeName()) return false;
    TakeBlanks();
    return Take("]");
  }

  bool TakePseudo(bool isNegated) {
    const bool isElement = Take(":");
    if (!TakeName() || (isElement && isNegated)) return false;
    const bool isSteps = name.starts_with("nth-");
    if (!isSteps && name != "not" && name != "lang") return rest.empty() || rest.front() != '(';
    if (isElement || !Take("(")) return false;
    TakeBlanks();
    const bool isKnown = isSteps         ? TakeSteps()
                         : name == "not" ? !isNegated && TakeNegated()
                                         : TakeString() || TakeName();
    TakeBlanks();
    return isKnown && Take(")");
  }

  bool TakeNegated() { return Take("*") || TakeName() || TakeSimple(true); }

  // "2n + 1"
  bool TakeSteps() {
    Scanner steps(TakeWord(")"));
    const std::string word = Lowered(Trimmed(steps.rest));
    if (word == "even" || word == "odd") return true;
    steps.Take("+-");
    const bool isNumber = steps.TakeAll(kDigits);
    const bool isStep = steps.Take("nN");
    steps.TakeBlanks();
    if (isStep && steps.Take("+-")) {
      steps.TakeBlanks();
      if (!steps.TakeAll(kDigits)) return false;
      steps.TakeBlanks();
    }
    return (isNumber || isStep) && steps.rest.empty();
  }

  // "(max-width: 30em)"
  bool TakeFeature() {
    if (!Take("(")) return false;
    TakeBlanks();
    if (!TakeName()) return false;
    TakeBlanks();
    if (Take(":")) {
      TakeBlanks();
      if (!TakeAll(kOfFeatures)) return false;
    }
    return Take(")");
  }

  std::string_view rest;
  std::string name;  // the last one that was taken
};

std::string_view WithoutImportance(std::string_view value) {
  return Trimmed(value.substr(0, value.find('!')));
}

bool IsLengthOrWord(std::string_view size) {
  if (IsOneOf(kFontWords, size) || size == "0") return true;
  Scanner scanner(size);
  scanner.Take("+");
  const bool isWhole = scanner.TakeAll(kDigits);
  const bool isNumber = scanner.Take(".") ? scanner.TakeAll(kDigits) : isWhole;
  return isNumber && IsOneOf(kFontUnits, scanner.Rest());
}

// "italic bold 1em/1.2 serif"
struct FontParts {
  std::string_view style;
  std::string_view variant;
  std::string_view weight;
  std::string_view size;
  std::string_view family;
};

FontParts PartsOf(std::string_view font) {
  constexpr std::string_view kEnds = " \t\r\n\f/";
  FontParts parts;
  Scanner words(font);
  for (;;) {
    words.TakeBlanks();
    parts.size = words.TakeWord(kEnds);
    const std::string word = Lowered(parts.size);
    if (!IsOneOf(kBeforeFontSizes, word)) break;
    if (word == "normal") continue;
    const bool isStyle = word == "italic" || word == "oblique";
    (isStyle ? parts.style : word == "small-caps" ? parts.variant : parts.weight) = parts.size;
  }
  words.TakeBlanks();
  if (words.Take("/")) {
    words.TakeBlanks();
    if (words.TakeWord(kEnds).empty()) return parts;
  }
  parts.family = Trimmed(words.Rest());
  return parts;
}

}  // namespace

bool IsSelector(std::string_view css) {
  return Scanner(css).TakeSelector();
}

bool AreMediaQueries(std::string_view css) {
  Scanner scanner(css);
  do {
    if (!scanner.TakeMediaQuery()) return Trimmed(css).empty();
  } while (scanner.Take(","));
  return scanner.Rest().empty();
}

bool IsFontSize(std::string_view value) {
  const std::string_view size = WithoutImportance(value);
  Scanner scanner(size);
  const bool isComputed = scanner.TakeName() && scanner.Rest().starts_with('(') &&
                          Scanner(size).TakeWord(kBlanks) == size;
  return size == "inherit" || isComputed || IsLengthOrWord(size);
}

bool IsFont(std::string_view value) {
  const std::string font = Lowered(WithoutImportance(value));
  const FontParts parts = PartsOf(font);
  return IsOneOf(kWholeFonts, font) ||
         (IsLengthOrWord(parts.size) && !parts.size.ends_with("rem") && !parts.family.empty());
}

std::string FontWithoutSize(std::string_view value) {
  const FontParts parts = PartsOf(WithoutImportance(value));
  const bool hasSize = parts.size.find_first_of("(0123456789") != std::string_view::npos ||
                       IsLengthOrWord(Lowered(parts.size));
  if (!hasSize || parts.family.empty()) return {};
  std::string declarations;
  const auto add = [&declarations](std::string_view property, std::string_view part) {
    if (!part.empty()) declarations.append(property).append(": ").append(part).append("; ");
  };
  add("font-style", parts.style);
  add("font-variant", parts.variant);
  add("font-weight", parts.weight);
  add("font-family", parts.family);
  return declarations;
}
