// Elements that the parser gives no name of their own are inline; those that are not here have
// rules that few pages need.
#include "edition/page/element_sorts.h"

#include <array>
#include <vector>

namespace {

struct SortedTags {
  Sort sort;
  std::vector<GumboTag> tags;
};

std::array<Sort, GUMBO_TAG_LAST + 1> SortTags() {
  const SortedTags kSorted[] = {
      {Sort::kInline,
       {GUMBO_TAG_ABBR,   GUMBO_TAG_ACRONYM,  GUMBO_TAG_BDI,      GUMBO_TAG_BDO, GUMBO_TAG_CANVAS,
        GUMBO_TAG_CITE,   GUMBO_TAG_DATA,     GUMBO_TAG_DEL,      GUMBO_TAG_DFN, GUMBO_TAG_INS,
        GUMBO_TAG_KBD,    GUMBO_TAG_LABEL,    GUMBO_TAG_LEGEND,   GUMBO_TAG_MAP, GUMBO_TAG_MARK,
        GUMBO_TAG_METER,  GUMBO_TAG_OUTPUT,   GUMBO_TAG_PROGRESS, GUMBO_TAG_Q,   GUMBO_TAG_SAMP,
        GUMBO_TAG_SPAN,   GUMBO_TAG_NOSCRIPT, GUMBO_TAG_SUB,      GUMBO_TAG_SUP, GUMBO_TAG_TIME,
        GUMBO_TAG_VAR,    GUMBO_TAG_UNKNOWN,  GUMBO_TAG_B,        GUMBO_TAG_BIG, GUMBO_TAG_CODE,
        GUMBO_TAG_EM,     GUMBO_TAG_FONT,     GUMBO_TAG_I,        GUMBO_TAG_S,   GUMBO_TAG_SMALL,
        GUMBO_TAG_STRIKE, GUMBO_TAG_STRONG,   GUMBO_TAG_TT,       GUMBO_TAG_U}},
      {Sort::kAnchor, {GUMBO_TAG_A}},
      {Sort::kBlock,
       {GUMBO_TAG_ADDRESS, GUMBO_TAG_ARTICLE,  GUMBO_TAG_ASIDE,      GUMBO_TAG_BLOCKQUOTE,
        GUMBO_TAG_CENTER,  GUMBO_TAG_DETAILS,  GUMBO_TAG_DIR,        GUMBO_TAG_DIV,
        GUMBO_TAG_DL,      GUMBO_TAG_FIELDSET, GUMBO_TAG_FIGCAPTION, GUMBO_TAG_FIGURE,
        GUMBO_TAG_FOOTER,  GUMBO_TAG_HEADER,   GUMBO_TAG_HGROUP,     GUMBO_TAG_MAIN,
        GUMBO_TAG_MENU,    GUMBO_TAG_NAV,      GUMBO_TAG_OL,         GUMBO_TAG_SECTION,
        GUMBO_TAG_SUMMARY, GUMBO_TAG_UL}},
      {Sort::kParagraph, {GUMBO_TAG_P}},
      {Sort::kHeading,
       {GUMBO_TAG_H1, GUMBO_TAG_H2, GUMBO_TAG_H3, GUMBO_TAG_H4, GUMBO_TAG_H5, GUMBO_TAG_H6}},
      {Sort::kPreformatted, {GUMBO_TAG_PRE}},
      {Sort::kListItem, {GUMBO_TAG_LI}},
      {Sort::kTerm, {GUMBO_TAG_DT, GUMBO_TAG_DD}},
      {Sort::kForm, {GUMBO_TAG_FORM}},
      {Sort::kButton, {GUMBO_TAG_BUTTON}},
      {Sort::kRuler, {GUMBO_TAG_HR}},
      {Sort::kVoid,
       {GUMBO_TAG_AREA, GUMBO_TAG_BR, GUMBO_TAG_EMBED, GUMBO_TAG_IMG, GUMBO_TAG_INPUT,
        GUMBO_TAG_WBR}},
      {Sort::kHead, {GUMBO_TAG_BASE, GUMBO_TAG_LINK, GUMBO_TAG_META}},
      {Sort::kRaw, {GUMBO_TAG_IFRAME, GUMBO_TAG_SCRIPT, GUMBO_TAG_STYLE, GUMBO_TAG_TITLE}},
      {Sort::kForeign, {GUMBO_TAG_MATH, GUMBO_TAG_SVG}},
      {Sort::kTable, {GUMBO_TAG_TABLE}},
      {Sort::kCaption, {GUMBO_TAG_CAPTION}},
      {Sort::kColumnGroup, {GUMBO_TAG_COLGROUP}},
      {Sort::kColumn, {GUMBO_TAG_COL}},
      {Sort::kRowGroup, {GUMBO_TAG_TBODY, GUMBO_TAG_TFOOT, GUMBO_TAG_THEAD}},
      {Sort::kRow, {GUMBO_TAG_TR}},
      {Sort::kCell, {GUMBO_TAG_TD, GUMBO_TAG_TH}},
      {Sort::kDocument, {GUMBO_TAG_BODY, GUMBO_TAG_HEAD, GUMBO_TAG_HTML}},
  };
  std::array<Sort, GUMBO_TAG_LAST + 1> sorts{};
  for (const SortedTags& sorted : kSorted) {
    for (const GumboTag tag : sorted.tags) sorts[tag] = sorted.sort;
  }
  return sorts;
}

}  // namespace

Sort SortOf(GumboTag tag) {
  static const auto kSorts = SortTags();
  return kSorts[tag];
}
