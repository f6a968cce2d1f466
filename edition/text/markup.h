// The markup that texts become, and the writing of it.
//
// Blocks: h1 to h6 for headings, with span.number around "CHAPTER I" where a title follows; p;
// p.item of a list; p.first behind a heading or a break; p.gap behind an empty line that means a
// pause; p.break for
// "* * *"; p.title, p.center and p.right; div.verse with a p for each line, of class i1 to i9 where
// it is indented; pre for code, records and tables; blockquote; p.entry for a line of a list of
// contents; div.indent and em.dots as Aozora texts have them. Inline: em, strong, sub, sup, a, br.
#ifndef KAVEPUB_TEXT_MARKUP_H
#define KAVEPUB_TEXT_MARKUP_H

#include <string>
#include <string_view>

// Marks that stand for tags in a text until it is written: control characters, which texts lose
// when they are read.
enum class Mark : char {
  kEmBegin = 1,
  kEmEnd,
  kDotsBegin,
  kDotsEnd,
  kStrongBegin,
  kStrongEnd,
  kSubBegin,
  kSubEnd,
  kSupBegin,  // tab and line feed are not among them
  kSupEnd = 11,
  kLineBreak
};

// Drops characters that XML forbids and those that are marks here; TAB stays.
void DropControls(std::string& text);

// Appends the text with its marks as tags and what means something in XML escaped.
void AppendMarkup(std::string_view text, std::string& markup);

// Pairs of underscores around words become marks: "_very_".
void MarkEmphasis(std::string& text);

#endif
