// Finds tags with very many attributes and thins them out before the parser compares each attribute
// with all others.
#include "xml/attribute_limit.h"

#include <libxml/parser.h>

#include <algorithm>
#include <string_view>
#include <unordered_set>

#include "xml/dtd_cache.h"
#include "xml/xml_base.h"

namespace {

constexpr size_t kUnquestioned = 64;  // that many attributes of a tag are always kept
constexpr size_t kLongestName = 100;  // of libxml2; what follows begins another one
constexpr std::string_view kDoctype = "!doctype";
constexpr std::string_view kBlanks = " \t\r\n";

bool IsLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool BeginsName(char c) {
  return IsLetter(c) || c == '_' || c == ':' || c == '.';
}

bool IsInName(char c) {
  return BeginsName(c) || (c >= '0' && c <= '9') || c == '-';
}

char Lowered(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

std::string LoweredText(std::string_view mixed) {
  std::string lowered(mixed);
  std::transform(lowered.begin(), lowered.end(), lowered.begin(), Lowered);
  return lowered;
}

// Reads tags as libxml2's HTML parser does.
class TagReader {
 public:
  explicit TagReader(std::string_view html) : text(html) {}

  // Goes behind the name of the next start tag; false when there is none.
  bool FindTag() {
    const bool isRaw = tagName == "script" || tagName == "style";
    if (isRaw && !text.substr(position).starts_with("/>")) SkipRawText();
    for (position = text.find('<', position); position < text.size();
         position = text.find('<', position)) {
      ++position;
      const std::string_view rest = text.substr(position);
      if (rest.starts_with("!--")) {
        SkipComment();
      } else if (IsSkipped(rest)) {
        SkipToTagEnd();
      } else if (!rest.empty() && IsLetter(rest.front())) {
        tagName = ReadName();
        return true;
      }
    }
    position = text.size();
    return false;
  }

  // Goes behind the next attribute and sets its name, in lower case, which is empty for characters
  // that are none; false at the end of the tag.
  bool NextAttribute(std::string& name) {
    SkipBlanks();
    if (AtTagEnd()) return false;
    name = ReadName();
    if (!name.empty()) {
      SkipValue();
    } else {
      while (!AtTagEnd() && kBlanks.find(text[position]) == std::string_view::npos) ++position;
    }
    return true;
  }

  size_t Position() const { return position; }

 private:
  bool AtTagEnd() const {
    return position >= text.size() || text[position] == '>' ||
           text.substr(position).starts_with("/>");
  }
  // Whether what follows a "<" is a document type, an end tag or an instruction; without a name the
  // "<" stands for itself.
  static bool IsSkipped(std::string_view rest) {
    if (LoweredText(rest.substr(0, kDoctype.size())) == kDoctype) return true;
    if (rest.size() < 2) return false;
    if (rest[0] == '/') return BeginsName(rest[1]);
    const bool isBeyondAscii = static_cast<unsigned char>(rest[1]) >= 0x80;
    return rest[0] == '?' && rest[1] != '.' && (BeginsName(rest[1]) || isBeyondAscii);
  }
  // What stands in a script or style element are no tags.
  void SkipRawText() {
    for (position = text.find("</", position); position != std::string_view::npos;
         position = text.find("</", position)) {
      const size_t start = position;
      position += 2;
      if (LoweredText(text.substr(position, tagName.size())) != tagName) continue;
      if (ReadName() == tagName) {
        position = start;
        return;
      }
      SkipToTagEnd();
    }
    position = text.size();
  }
  // From the "!" of a comment.
  void SkipComment() {
    for (position = text.find("--", position + 3); position != std::string_view::npos; ++position) {
      position = text.find("--", position);
      if (position == std::string_view::npos) break;
      const std::string_view rest = text.substr(position);
      if (rest.starts_with("-->") || rest.starts_with("--!>")) return;
    }
    position = text.size();
  }
  void SkipToTagEnd() { position = std::min(text.find('>', position), text.size()); }
  void SkipBlanks() { position = std::min(text.find_first_not_of(kBlanks, position), text.size()); }
  // In lower case; empty when there is none.
  std::string ReadName() {
    const size_t start = position;
    if (position == text.size() || !BeginsName(text[position])) return {};
    const size_t longest = std::min(text.size(), start + kLongestName);
    while (position < longest && IsInName(text[position])) ++position;
    return LoweredText(text.substr(start, position - start));
  }
  void SkipValue() {
    SkipBlanks();
    if (position >= text.size() || text[position] != '=') return;
    ++position;
    SkipBlanks();
    if (position >= text.size()) return;
    const char quote = text[position];
    if (quote == '"' || quote == '\'') {
      position = text.find(quote, position + 1);
      position = position == std::string_view::npos ? text.size() : position + 1;
    } else {
      position = std::min(text.find_first_of(" \t\r\n>", position), text.size());
    }
  }

  std::string_view text;
  size_t position = 0;
  std::string tagName;
};

void AddAttributeName(void* attribute, void* names, const xmlChar* /*element*/) {
  const auto* declared = static_cast<const xmlAttribute*>(attribute);
  std::string name = declared->prefix == nullptr
                         ? ""
                         : std::string(reinterpret_cast<const char*>(declared->prefix)) + ":";
  name += reinterpret_cast<const char*>(declared->name);
  static_cast<std::unordered_set<std::string>*>(names)->insert(name);
}

std::unordered_set<std::string> LastingAttributes() {
  std::unordered_set<std::string> names = {"recindex"};  // by which a MOBI book names a picture
  const DtdPointer dtd = ParseDtd(kXhtml1StrictDtd[0]);
  if (dtd != nullptr) {
    xmlHashScan(static_cast<xmlHashTable*>(dtd->attributes), AddAttributeName, &names);
  }
  return names;
}

bool HasCrowdedTag(std::string_view html) {
  TagReader reader(html);
  std::string name;
  while (reader.FindTag()) {
    size_t count = 0;
    while (reader.NextAttribute(name)) ++count;
    if (count > kUnquestioned) return true;
  }
  return false;
}

// Copies the attributes of the tag at reader that are to stay, from start on.
void CopyTag(std::string_view html, TagReader& reader, size_t start,
             const std::unordered_set<std::string>& declared, std::string& out) {
  std::unordered_set<std::string> seen;
  std::string name;
  size_t count = 0;
  while (reader.NextAttribute(name)) {
    const bool isNew = seen.insert(name).second;
    ++count;
    if (count <= kUnquestioned || (isNew && declared.count(name) != 0)) {
      out += html.substr(start, reader.Position() - start);
    }
    start = reader.Position();
  }
  if (count > kUnquestioned) out += ' ';  // the last value may have stood without quotes
}

}  // namespace

std::string LimitAttributes(const std::string& html) {
  if (!HasCrowdedTag(html)) return {};
  const std::unordered_set<std::string> declared = LastingAttributes();
  const std::string_view view = html;
  TagReader reader(view);
  std::string out;
  out.reserve(html.size());
  size_t copied = 0;
  while (reader.FindTag()) {
    out += view.substr(copied, reader.Position() - copied);
    CopyTag(view, reader, reader.Position(), declared, out);
    copied = reader.Position();
  }
  out += view.substr(copied);
  return out;
}
