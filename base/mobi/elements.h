// The elements a page is written with, and what becomes of the others.
#ifndef KAV_BASE_MOBI_ELEMENTS_H
#define KAV_BASE_MOBI_ELEMENTS_H

#include <cstdint>
#include <string_view>

namespace kav_mobi {

enum class Role : uint8_t {
  kInline,
  kBlock,      // div and the like: holds anything
  kParagraph,  // holds text only, ends where a block begins
  kContainer,  // a list or table: holds its items only
  kItem,       // an item of a container
  kRule,       // a line across the page, without content
  kBreak,      // a line break, without content
  kPicture,
  kPageBreak,
  kBody,      // begins a document of the book
  kDiscarded  // dropped with its content
};

struct Element {
  std::string_view name;
  std::string_view written;  // the name on the page
  Role role;
  std::string_view style;    // what the name said, when it is written under another one
  std::string_view implied;  // the item that text directly inside is wrapped in
};

// The element of that name, in any case; null when a page has none such.
const Element* FindElement(std::string_view name);

// Whether an element named `parent` may hold the item named `item`.
bool HoldsItem(std::string_view parent, std::string_view item);

}  // namespace kav_mobi

#endif
