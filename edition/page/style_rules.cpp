// Takes sheets apart as far as it takes to leave out what books cannot have.
#include "edition/page/style_rules.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <utility>

#include "edition/page/css_grammar.h"
#include "edition/page/words.h"

namespace {

constexpr int kDeepestBlock = 4;
constexpr int kMostVariables = 8;       // that a value leads to, one by one
constexpr size_t kLongestValue = 4096;  // of variables, which may be used all over a sheet

constexpr size_t kLongestRemembered =
    256;  // of style attributes, which are the same again and again
constexpr size_t kMostRemembered = 256;

constexpr std::string_view kDroppedProperties[] = {
    "-moz-binding",   "behavior",        "content-visibility", "contain",    "filter",
    "inset",          "overflow",        "overflow-wrap",      "overflow-x", "overflow-y",
    "pointer-events", "scroll-behavior", "will-change",
};
constexpr std::string_view kOfBoxes[] = {"width", "height", "min-width", "min-height"};
constexpr std::string_view kOfTables[] = {"border-collapse", "border-spacing", "table-layout"};
constexpr std::string_view kWidths[] = {"width", "min-width"};
constexpr std::string_view kHeights[] = {"height", "max-height", "min-height"};
constexpr std::string_view kOfTheReader[] = {"font-size", "line-height"};
constexpr std::string_view kRoots[] = {":root", "body", "html", "html body"};

// Comments are blanks, and so are the marks that hide sheets from old browsers.
std::string WithoutComments(std::string_view css) {
  std::string plain;
  plain.reserve(css.size());
  char quote = '\0';
  for (size_t at = 0; at < css.size(); ++at) {
    const char c = css[at];
    const std::string_view rest = css.substr(at);
    if (quote != '\0') {
      if (c == '\\' && at + 1 < css.size()) {
        plain += c;
        ++at;
        plain += css[at];
        continue;
      }
      if (c == quote || c == '\n') quote = '\0';
    } else if (rest.starts_with("/*")) {
      at = std::min(css.find("*/", at + 2), css.size() - 1) + 1;
      plain += ' ';
      continue;
    } else if (rest.starts_with("<!--")) {
      at += 3;
      continue;
    } else if (rest.starts_with("-->")) {
      at += 2;
      continue;
    } else if (c == '"' || c == '\'') {
      quote = c;
    }
    plain += c;
  }
  return plain;
}

// Where the first of some characters stands outside quotes and brackets; the size where none does.
size_t FindOutside(std::string_view css, size_t at, std::string_view wanted) {
  char quote = '\0';
  size_t depth = 0;
  for (; at < css.size(); ++at) {
    const char c = css[at];
    if (c == '\\') {
      ++at;
    } else if (quote != '\0') {
      if (c == quote || c == '\n') quote = '\0';
    } else if (depth == 0 && wanted.find(c) != std::string_view::npos) {
      return at;
    } else if (c == '"' || c == '\'') {
      quote = c;
    } else if (c == '(' || c == '[') {
      ++depth;
    } else if ((c == ')' || c == ']') && depth > 0) {
      --depth;
    } else if (c == '{' || c == '}') {
      depth = 0;  // a bracket that nobody closed
      if (wanted.find(c) != std::string_view::npos) return at;
    }
  }
  return css.size();
}

// Whether each bracket and quote has its end, and there is nothing that only some programs read.
bool IsSound(std::string_view value) {
  const size_t mark = value.rfind('!');
  if (mark != std::string_view::npos && Lowered(Trimmed(value.substr(mark + 1))) == "important") {
    value = value.substr(0, mark);
  }
  if (Trimmed(value).empty()) return false;
  char quote = '\0';
  std::string closing;
  for (size_t at = 0; at < value.size(); ++at) {
    const char c = value[at];
    if (quote != '\0') {
      if (c == '\\') {
        ++at;
        if (at == value.size()) return false;
      } else if (c == quote) {
        quote = '\0';
      } else if (c == '\n') {
        return false;
      }
    } else if (c == '"' || c == '\'') {
      quote = c;
    } else if (c == '(' && at >= 3 && Lowered(value.substr(at - 3, 3)) == "url") {
      at = FindOutside(value, at + 1, ")");  // the book has another reference in its place
      if (at == value.size()) return false;
    } else if (c == '(' || c == '[') {
      closing += c == '(' ? ')' : ']';
    } else if (c == ')' || c == ']') {
      if (closing.empty() || closing.back() != c) return false;
      closing.pop_back();
    } else if (std::string_view("\\{}<>;@`|^&$?~!=").find(c) != std::string_view::npos) {
      return false;
    }
  }
  return quote == '\0' && closing.empty();
}

bool IsPropertyName(std::string_view name) {
  constexpr std::string_view kLetters = "abcdefghijklmnopqrstuvwxyz";
  const size_t first = name.starts_with('-') ? 1 : 0;
  return first < name.size() && kLetters.find(name[first]) != std::string_view::npos &&
         name.find_first_not_of("abcdefghijklmnopqrstuvwxyz-0123456789") == std::string_view::npos;
}

// The reference in "url(...)" or in quotes.
std::string_view Unquoted(std::string_view text) {
  text = Trimmed(text);
  if (text.size() >= 2 && (text.front() == '"' || text.front() == '\'') &&
      text.back() == text.front()) {
    text = text.substr(1, text.size() - 2);
  }
  return text;
}

// Sizes that only a window has.
bool IsOfWindow(const std::string& name, std::string_view value) {
  if (value.find("vh") != std::string_view::npos || value.find("vw") != std::string_view::npos) {
    return true;
  }
  if (IsOneOf(kHeights, name)) return value.starts_with("100%");
  return IsOneOf(kWidths, name) && Pixels(value) > kWidestBox;
}

// What all readers can show on pages, in the place of what a window shows. Nothing is behind the
// edge of a page, so lines have to end there; boxes that are as large as their text cannot be cut
// at the end of a line or of a page, so they are text.
void FitForPages(const std::string& name, bool isSized, std::string& value) {
  constexpr struct {
    std::string_view property;
    std::string_view value;
    std::string_view becomes;
    bool evenSized;
  } kFitting[] = {{"white-space", "nowrap", "normal", true},
                  {"white-space", "pre", "pre-wrap", true},
                  {"display", "inline-block", "inline", false}};
  const size_t length = std::min(value.find_first_of(" !"), value.size());
  for (const auto& row : kFitting) {
    const bool isMeant = name == row.property && Lowered(value.substr(0, length)) == row.value;
    if (!isMeant || (isSized && !row.evenSized)) continue;
    value.replace(0, length, row.becomes);
    return;
  }
}

// What a rule is about.
struct Subject {
  bool isRoot = false;
  bool isTable = false;
  bool isSized = false;
};

// By its selector, and by what it says of it.
Subject SubjectOf(std::string_view selector, std::string_view declarations) {
  Subject subject;
  subject.isRoot = IsOneOf(kRoots, Lowered(selector));
  subject.isTable = Lowered(selector).ends_with("table");
  for (size_t at = 0; at < declarations.size();) {
    const size_t end = FindOutside(declarations, at, ";");
    const std::string_view declaration = declarations.substr(at, end - at);
    const std::string name = Lowered(Trimmed(declaration.substr(0, declaration.find(':'))));
    subject.isTable = subject.isTable || IsOneOf(kOfTables, name);
    subject.isSized = subject.isSized || IsOneOf(kOfBoxes, name);
    at = end + 1;
  }
  return subject;
}

bool IsDropped(const std::string& name, const std::string& value, Subject subject) {
  if (IsOneOf(kDroppedProperties, name) || IsOfWindow(name, value)) return true;
  // A table that is to scroll by itself.
  if (subject.isTable && name == "display" && value.starts_with("block")) return true;
  if (subject.isRoot && IsOneOf(kOfTheReader, name)) return true;
  if (name == "font-size" && !IsFontSize(value)) return true;
  if (name == "position") return value.starts_with("fixed") || value.starts_with("sticky");
  return value.find("expression") != std::string::npos ||
         value.find("javascript:") != std::string::npos;
}

// Readers of little know colours behind text by their own name only.
bool IsColourOnly(std::string_view name, std::string_view value) {
  const size_t length = std::min(value.find('!'), value.size());
  const std::string_view meant = Trimmed(value.substr(0, length));
  const bool isWord =
      meant.find_first_not_of("abcdefghijklmnopqrstuvwxyz") == std::string_view::npos;
  return name == "background" && meant != "none" && meant != "inherit" && meant != "initial" &&
         (meant.starts_with('#') || isWord) &&
         meant.find_first_of(kBlanks) == std::string_view::npos;
}

bool ShowsOnScreens(std::string_view media) {
  const std::string lowered = Lowered(media);
  const bool namesScreen =
      lowered.find("screen") != std::string::npos || lowered.find("all") != std::string::npos;
  for (const char* other : {"print", "speech", "aural", "braille", "not ", "prefers-", "hover"}) {
    if (lowered.find(other) != std::string::npos && !namesScreen) return false;
  }
  for (const char* other : {"not ", "prefers-", "hover", "pointer", "<", ">", "min-width"}) {
    if (lowered.find(other) != std::string::npos) return false;
  }
  return AreMediaQueries(media);
}

}  // namespace

class StyleRules::Reader {
 public:
  Reader(StyleRules& shared, const Refer& toFile, const Refer* toSheet)
      : rules(shared), refer(toFile), import(toSheet) {}

  std::string Block(std::string_view css, int depth) {
    std::string out;
    for (size_t at = 0; at < css.size();) {
      at = std::min(css.find_first_not_of(" \t\r\n\f;}", at), css.size());
      const size_t end = FindOutside(css, at, "{;}");
      const std::string_view prelude = Trimmed(css.substr(at, end - at));
      if (end == css.size()) break;
      if (css[end] != '{') {
        if (depth == 0 && css[end] == ';') Import(prelude, out);
        at = end + 1;
        continue;
      }
      const size_t close = EndOfBlock(css, end + 1);
      const std::string_view inner = css.substr(end + 1, close - end - 1);
      prelude.starts_with('@') ? AtRule(prelude, inner, depth, out) : Rule(prelude, inner, out);
      at = close + 1;
    }
    return out;
  }

  std::string Declarations(std::string_view css, Subject subject) {
    std::string out;
    for (size_t at = 0; at < css.size();) {
      const size_t end = FindOutside(css, at, ";");
      Declaration(css.substr(at, end - at), subject, out);
      at = end + 1;
    }
    return out;
  }

 private:
  static size_t EndOfBlock(std::string_view css, size_t at) {
    for (size_t depth = 1;; ++at) {
      at = FindOutside(css, at, "{}");
      if (at >= css.size()) return css.size();
      css[at] == '{' ? ++depth : --depth;
      if (depth == 0) return at;
    }
  }

  void Import(std::string_view prelude, std::string& out) {
    constexpr std::string_view kImport = "@import";
    if (import == nullptr || !Lowered(prelude).starts_with(kImport)) return;
    prelude = Trimmed(prelude.substr(kImport.size()));
    const bool isUrl = Lowered(prelude.substr(0, 4)) == "url(";
    const char first = prelude.empty() ? '\0' : prelude.front();
    if (!isUrl && first != '"' && first != '\'') return;
    const size_t end = isUrl ? prelude.find(')') : prelude.find(first, 1);
    if (end == std::string_view::npos) return;
    const size_t begin = isUrl ? 4 : 0;
    const std::string_view named = prelude.substr(begin, end - begin + (isUrl ? 0 : 1));
    std::string_view media = Trimmed(prelude.substr(end + 1));
    for (const char* later : {"layer", "supports"}) {
      if (Lowered(media).starts_with(later))
        media = Trimmed(media.substr(FindOutside(media, 0, " ")));
    }
    if (!ShowsOnScreens(media)) return;
    const std::string sheet = (*import)(Unquoted(named));
    if (!sheet.empty()) out.append("@import url(\"").append(sheet).append("\");\n");
  }

  void AtRule(std::string_view prelude, std::string_view inner, int depth, std::string& out) {
    const std::string name = Lowered(prelude.substr(0, prelude.find_first_of(" \t\r\n\f(")));
    const std::string_view rest = Trimmed(prelude.substr(name.size()));
    if (name == "@media" && depth < kDeepestBlock && ShowsOnScreens(rest)) {
      const std::string rulesInside = Block(inner, depth + 1);
      if (rulesInside.empty()) return;
      out.append("@media ").append(rest).append(" {\n").append(rulesInside).append("}\n");
    } else if (name == "@font-face") {
      const std::string declarations = Declarations(inner, {});
      if (declarations.find("url(") == std::string::npos) return;
      out.append("@font-face { ").append(declarations).append("}\n");
    }
  }

  // Of alternatives, those that readers know.
  static std::string KnownOf(std::string_view selectors) {
    std::string known;
    for (size_t at = 0; at <= selectors.size();) {
      const size_t end = FindOutside(selectors, at, ",");
      const std::string_view selector = Trimmed(selectors.substr(at, end - at));
      if (IsSelector(selector)) known.append(known.empty() ? "" : ", ").append(selector);
      at = end + 1;
    }
    return known;
  }

  void Rule(std::string_view selectors, std::string_view inner, std::string& out) {
    const std::string declarations = Declarations(inner, SubjectOf(selectors, inner));
    const std::string known = KnownOf(selectors);
    if (declarations.empty() || known.empty()) return;
    out.append(known).append(" { ").append(declarations).append("}\n");
  }

  void Declaration(std::string_view css, Subject subject, std::string& out) {
    const size_t colon = css.find(':');
    if (colon == std::string_view::npos) return;
    const std::string name = Lowered(Trimmed(css.substr(0, colon)));
    std::string value(Trimmed(css.substr(colon + 1)));
    if (name.starts_with("--")) {
      if (subject.isRoot && value.size() <= kLongestValue) rules.variables.emplace(name, value);
      return;
    }
    if (!IsPropertyName(name) || value.empty() || !Resolve(value)) return;
    if (!IsSound(value) || IsDropped(name, Lowered(value), subject)) return;
    if (name == "font" && (subject.isRoot || !IsFont(value))) {
      out.append(FontWithoutSize(value));
      return;
    }
    if (!References(name, value)) return;
    FitForPages(name, subject.isSized, value);
    out.append(IsColourOnly(name, value) ? "background-color" : name).append(": ");
    out.append(value).append("; ");
  }

  // Puts values in the place of variables; false where one has none.
  bool Resolve(std::string& value) const {
    for (int count = 0;; ++count) {
      const size_t at = value.find("var(");
      if (at == std::string::npos) return count == 0 || value.size() <= kLongestValue;
      const size_t end = FindOutside(value, at + 4, ")");
      if (count == kMostVariables || end == value.size()) return false;
      const std::string inner = value.substr(at + 4, end - at - 4);
      const size_t comma = std::min(inner.find(','), inner.size());
      const auto known = rules.variables.find(Trimmed(std::string_view(inner).substr(0, comma)));
      if (known == rules.variables.end() && comma == inner.size()) return false;
      const std::string replacement =
          known == rules.variables.end() ? inner.substr(comma + 1) : known->second;
      value.replace(at, end + 1 - at, replacement);
    }
  }

  // Of several sources of a font, some may be there; of anything else, all have to be.
  bool References(const std::string& name, std::string& value) const {
    if (name != "src") return PutReferences(value);
    std::string kept;
    for (size_t at = 0; at < value.size();) {
      const size_t end = FindOutside(value, at, ",");
      std::string source(Trimmed(std::string_view(value).substr(at, end - at)));
      if (PutReferences(source)) kept.append(kept.empty() ? "" : ", ").append(source);
      at = end + 1;
    }
    value = std::move(kept);
    return !value.empty();
  }

  bool PutReferences(std::string& value) const {
    const std::string lowered = Lowered(value);
    std::string out;
    size_t taken = 0;
    for (size_t at = 0; (at = lowered.find("url(", at)) != std::string::npos;) {
      const size_t end = FindOutside(value, at + 4, ")");
      if (end == value.size()) return false;
      const std::string there =
          refer(Unquoted(std::string_view(value).substr(at + 4, end - at - 4)));
      if (there.empty()) return false;
      out.append(value, taken, at - taken).append(there);
      taken = at = end + 1;
    }
    if (taken > 0) value = out.append(value, taken);
    return true;
  }

  StyleRules& rules;
  const Refer& refer;
  const Refer* import;
};

std::string StyleRules::Clean(std::string_view sheet, const Refer& refer, const Refer& import) {
  return Reader(*this, refer, &import).Block(WithoutComments(sheet), 0);
}

std::string StyleRules::CleanDeclarations(std::string_view declarations, const Refer& refer) {
  if (const auto known = cleaned.find(declarations); known != cleaned.end()) return known->second;
  const std::string plain = WithoutComments(declarations);
  std::string clean = Reader(*this, refer, nullptr).Declarations(plain, SubjectOf({}, plain));
  // What refers to something asks for it each time, and what sets a variable sets it each time.
  const bool isForAll = declarations.size() <= kLongestRemembered &&
                        cleaned.size() < kMostRemembered && plain.find('(') == std::string::npos &&
                        plain.find("--") == std::string::npos;
  if (isForAll) cleaned.emplace(declarations, clean);
  return clean;
}

double Pixels(std::string_view value) {
  constexpr struct {
    std::string_view unit;
    double pixels;
  } kUnits[] = {{"rem", 16},     {"em", 16}, {"ex", 8},  {"ch", 8},         {"px", 1},
                {"pt", 4.0 / 3}, {"pc", 16}, {"in", 96}, {"cm", 96 / 2.54}, {"mm", 96 / 25.4}};
  double number = 0;
  std::from_chars(value.data(), value.data() + value.size(), number);
  const size_t end = std::min(value.find_first_not_of("+-.0123456789"), value.size());
  for (const auto& [unit, pixels] : kUnits) {
    if (value.substr(end).starts_with(unit)) return number * pixels;
  }
  return 0;
}
