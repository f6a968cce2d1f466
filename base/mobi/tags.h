// Markup as a sequence of tags, found without changing or repairing it.
#ifndef KAV_BASE_MOBI_TAGS_H
#define KAV_BASE_MOBI_TAGS_H

#include <cstddef>
#include <utility>
#include <vector>

#include "base/mobi/elements.h"
#include "base/mobi/reader.h"

namespace kav_mobi {

enum class TagKind : uint8_t {
  kStart,
  kEnd,
  kSkipped  // a comment, a declaration, or a discarded element with its content
};

struct Tag {
  size_t begin = 0;
  size_t end = 0;
  TagKind kind = TagKind::kSkipped;
  bool selfClosing = false;
  const Element* element = nullptr;  // null for an element that a page has not
  Bytes name;
  Bytes attributes;  // what stands between the name and the end of the tag
};

// Finds the tags of a text one after the other. What lies between them is text. A "<" that begins
// no tag belongs to the text. Every byte is looked at a bounded number of times.
class TagScanner {
 public:
  explicit TagScanner(Bytes markup);

  // Moves on to the next tag; false at the end, where tag.begin is the end of the text.
  bool Next(Tag& tag);

 private:
  // The next occurrence of a mark, remembered so that no search is repeated. A bare element name
  // stands for the beginning of its end tag.
  struct Mark {
    Bytes text;
    size_t at = 0;
    bool searched = false;
  };

  bool ReadTag(size_t at, Tag& tag);
  void ReadSpecial(size_t at, Tag& tag);
  size_t EndOfTag(size_t at) const;
  void SkipContent(Tag& tag);
  size_t FindMark(Mark& mark, size_t from) const;

  Bytes text;
  size_t position = 0;
  size_t lastClose;  // the last byte of each kind, 0 when there is none
  size_t lastQuote;
  size_t lastApostrophe;
  Mark commentEnd{"-->"};
  Mark bodyStart{"<body"};
  std::vector<Mark> elementEnds;
};

// The attributes of a tag as name and raw value, in order.
using Attribute = std::pair<Bytes, Bytes>;
class Attributes {
 public:
  // Replaces the list by the attributes in `text`, Tag::attributes.
  void Read(Bytes text);

  // The value of the first attribute of that name, in any case; empty when there is none.
  Bytes Get(Bytes name) const;

  std::vector<Attribute>::const_iterator begin() const { return list.begin(); }
  std::vector<Attribute>::const_iterator end() const { return list.end(); }

 private:
  std::vector<Attribute> list;
};

// Whether two names are the same but for the case of ASCII letters.
bool SameName(Bytes a, Bytes b);

}  // namespace kav_mobi

#endif
