// Markup as a sequence of tags, found without changing or repairing it.
#ifndef KAV_MOBI_TAGS_H
#define KAV_MOBI_TAGS_H

#include <cstddef>
#include <utility>
#include <vector>

#include "elements.h"
#include "reader.h"

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
  // Begins at the byte `from` of text.
  explicit TagScanner(Bytes text, size_t from = 0);

  // Moves on to the next tag; false at the end, where tag.begin is the end of the text.
  bool next(Tag& tag);

 private:
  // The next occurrence of a mark, remembered so that no search is repeated. A bare element name
  // stands for the beginning of its end tag.
  struct Mark {
    Bytes text;
    size_t at = 0;
    bool searched = false;
  };

  bool readTag(size_t at, Tag& tag);
  void readSpecial(size_t at, Tag& tag);
  size_t endOfTag(size_t at) const;
  void skipContent(Tag& tag);
  size_t findMark(Mark& mark, size_t from) const;

  Bytes text_;
  size_t at_;
  size_t lastClose_;  // the last byte of each kind, 0 when there is none
  size_t lastQuote_;
  size_t lastApostrophe_;
  Mark commentEnd_{"-->"};
  Mark bodyStart_{"<body"};
  std::vector<Mark> elementEnds_;
};

// The attributes of a tag as name and raw value, in order.
using Attribute = std::pair<Bytes, Bytes>;
class Attributes {
 public:
  // Replaces the list by the attributes in `text`, Tag::attributes.
  void read(Bytes text);

  // The value of the first attribute of that name, in any case; empty when there is none.
  Bytes get(Bytes name) const;

  std::vector<Attribute>::const_iterator begin() const { return list_.begin(); }
  std::vector<Attribute>::const_iterator end() const { return list_.end(); }

 private:
  std::vector<Attribute> list_;
};

// Whether two names are the same but for the case of ASCII letters.
bool sameName(Bytes a, Bytes b);

}  // namespace kav_mobi

#endif
