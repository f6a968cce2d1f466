// PalmDOC texts without what was for the readers of their time.
#ifndef KAVEPUB_MOBI_PALM_TEXT_H
#define KAVEPUB_MOBI_PALM_TEXT_H

#include <cstdint>
#include <string>
#include <vector>

#include "base/mobi/reader.h"

struct PalmText {
  std::string text;                     // in the book's own encoding, with line feeds
  std::vector<std::uint32_t> headings;  // the lines that bookmarks name, from 0, ascending
};

// Without the tags of TealDoc, of which headers and links leave their text, and without the mark
// before headings that the end of the text tells. Bookmarks are those tags, those marks, and the
// records behind the text.
PalmText PalmTextOf(const kav_mobi::Book& book);

#endif
