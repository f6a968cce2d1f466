// The tags and texts of an orderly page: of one whose markup can be read in one way only.
#ifndef KAVEPUB_PAGE_ORDERLY_TOKENS_H
#define KAVEPUB_PAGE_ORDERLY_TOKENS_H

#include <gumbo.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "base/byte_set.h"
#include "edition/page/arena.h"

// Codes that never are one.
constexpr bool IsNoCharacter(std::uint32_t code) {
  return (code >= 0xD800 && code < 0xE000) || (code >= 0xFDD0 && code <= 0xFDEF) ||
         (code & 0xFFFE) == 0xFFFE || code > 0x10FFFF;
}

class OrderlyTokens {
 public:
  enum class Kind {
    kText,
    kStartTag,
    kEndTag,
    kComment,
    kDoctype,
    kEnd,
    kDisorder  // what only a parser of HTML understands
  };

  // Of a page in UTF-8; both are to stay.
  OrderlyTokens(std::string_view source, Arena& taken);

  Kind Next();
  // Behind the tag of an element whose content is text up to its end: of a title with characters
  // by their names, else without.
  Kind NextRaw(std::string_view element, bool hasReferences);

  // Of a text what it says, of a doctype or a tag as it is written.
  std::string_view Text() const { return text; }
  // Of a tag.
  std::string_view Name() const { return name; }
  GumboTag Tag() const { return tag; }
  bool IsSelfClosing() const { return isSelfClosing; }
  // Of a start tag; in the arena.
  GumboVector Attributes() const;

 private:
  Kind ReadText(std::string_view raw, const ByteSet& signs);
  Kind ReadComment();
  Kind ReadTag(bool isEnd);
  bool ReadAttributes();
  bool ReadAttribute();
  bool ReadValue(GumboAttribute& attribute);
  bool Decode(std::string_view raw, const ByteSet& signs);
  size_t DecodeReference(std::string_view raw);
  void SkipBlanks();
  char At(size_t offset) const { return offset < source.size() ? source[offset] : '\0'; }

  std::string_view source;
  Arena& arena;
  size_t at = 0;
  std::string_view text;
  std::string decoded;
  std::string_view name;
  GumboTag tag = GUMBO_TAG_UNKNOWN;
  bool isSelfClosing = false;
  std::vector<GumboAttribute> attributes;
};

#endif
