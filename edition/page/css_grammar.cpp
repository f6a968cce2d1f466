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
constexpr std::string_view kFontUnits[] = {"%",  "ch", "cm",  "em", "ex",   "in",   "mm", "pc",
                                           "pt", "px", "rem", "vh", "vmax", "vmin", "vw"};
constexpr std::string_view kBeforeFontSizes[] = {
    "normal", "italic", "oblique", "small-caps", "bold", "bolder", "lighter", "100",
    "200",    "300",    "400",     "500",        "600",  "700",    "800",     "900"};

bool BeginsName(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' ||
         static_cast<std::uint8_t>(c) >= 0x80;
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

  // Up to one of some characters, or all.
  std::string_view TakeUntil(std::string_view ends) {
    const std::string_view before = rest;
    Advance(rest.find_first_of(ends));
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
    } else if (!TakeFeature()) {
      return false;
    }
    for (;;) {
      TakeBlanks();
      if (rest.empty() || rest.front() == ',') return true;
      if (!TakeName() || name != "and") return false;
      TakeBlanks();
      if (!TakeFeature()) return false;
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
    Take(":");
    if (!TakeName()) return false;
    if (!Take("(")) return true;
    TakeBlanks();
    const bool isKnown = name == "not"              ? !isNegated && TakeNegated()
                         : name.starts_with("nth-") ? TakeSteps()
                                                    : TakeString() || TakeName();
    TakeBlanks();
    return isKnown && Take(")");
  }

  bool TakeNegated() { return Take("*") || TakeName() || TakeSimple(true); }

  // "2n + 1"
  bool TakeSteps() {
    Scanner steps(TakeUntil(")"));
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
    if (Take(":") && !TakeAll(kOfFeatures)) return false;
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
  scanner.Take("+-");
  const bool isWhole = scanner.TakeAll(kDigits);
  const bool isNumber = scanner.Take(".") ? scanner.TakeAll(kDigits) : isWhole;
  return isNumber && IsOneOf(kFontUnits, scanner.Rest());
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
  const bool isComputed = Scanner(size).TakeName() && size.ends_with(')');
  return size == "inherit" || isComputed || IsLengthOrWord(size);
}

bool IsFont(std::string_view value) {
  const std::string_view font = WithoutImportance(value);
  Scanner word(font);
  if (word.TakeName() && word.Rest().empty()) return true;  // "inherit", "caption"
  Scanner words(font);
  std::string_view size;
  do {
    words.TakeBlanks();
    size = words.TakeUntil(" \t\r\n\f/");
  } while (IsOneOf(kBeforeFontSizes, size));
  if (size.empty()) return words.Rest().empty();
  return IsLengthOrWord(size) && !size.ends_with("rem");
}
