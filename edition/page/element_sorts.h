// Elements of HTML by what its parsing asks of them.
#ifndef KAVEPUB_PAGE_ELEMENT_SORTS_H
#define KAVEPUB_PAGE_ELEMENT_SORTS_H

#include <gumbo.h>

#include <cstdint>

// What the parsing of HTML asks of an element; the order is used below.
enum class Sort : std::uint8_t {
  kOther,  // none of the below
  kInline,
  kAnchor,
  kParagraph,
  kBlock,  // ends a paragraph
  kHeading,
  kPreformatted,
  kListItem,
  kTerm,  // or its definition
  kForm,
  kButton,
  kRuler,
  kVoid,
  kHead,  // may stand in the head, and is void
  kRaw,
  kForeign,  // of another language, with all that is in it
  kTable,
  kCaption,
  kColumnGroup,
  kColumn,
  kRowGroup,
  kRow,
  kCell,
  kDocument  // of which there is one
};

Sort SortOf(GumboTag tag);

inline bool IsVoid(Sort sort) {
  return sort == Sort::kVoid || sort == Sort::kHead || sort == Sort::kRuler ||
         sort == Sort::kColumn;
}

// What holds parts of a table, and blanks, and no text.
inline bool IsTableFrame(Sort sort) {
  return sort == Sort::kTable || sort == Sort::kColumnGroup || sort == Sort::kRowGroup ||
         sort == Sort::kRow;
}

inline bool IsTablePart(Sort sort) {
  return sort >= Sort::kCaption && sort <= Sort::kCell;
}

// What of a list or paragraph ends where its surroundings do.
inline bool EndsItself(Sort sort) {
  return sort == Sort::kParagraph || sort == Sort::kListItem || sort == Sort::kTerm;
}

#endif
