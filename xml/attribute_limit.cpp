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
    SkipRawText();
    for (position = text.find('<', position); position != std::string_view::npos;
         position = text.find('<', position)) {
      ++position;
      if (text.substr(position).starts_with("!--")) {
        position = std::min(text.find("-->", position), text.size());
      } else if (position < text.size() && BeginsName(text[position])) {
        const size_t start = position;
        SkipName();
        tagName = LoweredText(text.substr(start, position - start));
        return true;
      }
    }
    return false;
  }

  // Goes behind the next attribute and sets its name, in lower case, which is empty for characters
  // that are none; false at the end of the tag.
  bool NextAttribute(std::string& name) {
    SkipBlanks();
    if (AtTagEnd()) return false;
    const size_t start = position;
    if (BeginsName(text[position])) {
      SkipName();
    } else {
      while (!AtTagEnd() && kBlanks.find(text[position]) == std::string_view::npos) ++position;
    }
    name.clear();
    if (BeginsName(text[start])) name = LoweredText(text.substr(start, position - start));
    if (!name.empty()) SkipValue();
    return true;
  }

  size_t Position() const { return position; }

 private:
  bool AtTagEnd() const {
    return position >= text.size() || text[position] == '>' ||
           text.substr(position).starts_with("/>");
  }
  // What stands in a script or style element are no tags.
  void SkipRawText() {
    if (tagName != "script" && tagName != "style") return;
    for (position = text.find("</", position); position != std::string_view::npos;
         position = text.find("</", position + 1)) {
      if (LoweredText(text.substr(position + 2, tagName.size())) == tagName) return;
    }
    position = text.size();
  }
  void SkipBlanks() { position = std::min(text.find_first_not_of(kBlanks, position), text.size()); }
  void SkipName() {
    while (position < text.size() && IsInName(text[position])) ++position;
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

std::unordered_set<std::string> DeclaredAttributes() {
  std::unordered_set<std::string> names;
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
  const std::unordered_set<std::string> declared = DeclaredAttributes();
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
