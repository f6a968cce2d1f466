// What of CSS every reader can parse: one selector that a program does not know takes the whole
// rule with it, and what checks books calls it an error.
#ifndef KAVEPUB_PAGE_CSS_GRAMMAR_H
#define KAVEPUB_PAGE_CSS_GRAMMAR_H

#include <string>
#include <string_view>

// One of Selectors Level 3, without escapes and namespaces.
bool IsSelector(std::string_view css);

// Those of Media Queries Level 3, or none.
bool AreMediaQueries(std::string_view css);

// A value of font-size in lower case, and one of font, which has fewer units. "!important" may be
// at the end.
bool IsFontSize(std::string_view value);
bool IsFont(std::string_view value);

// The declarations that are left of one of font when its size and the height of its lines go.
std::string FontWithoutSize(std::string_view value);

#endif
