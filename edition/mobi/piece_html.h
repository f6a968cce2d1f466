// A piece of a MOBI book as a page of HTML.
#ifndef KAVEPUB_MOBI_PIECE_HTML_H
#define KAVEPUB_MOBI_PIECE_HTML_H

#include <string>
#include <vector>

#include "base/mobi/dictionary.h"
#include "edition/mobi/indices.h"
#include "edition/mobi/piece_plan.h"
#include "edition/mobi/places.h"

// What is to be put into the pieces, each in the order of the text.
struct Additions {
  std::vector<kav_mobi::Headword> headwords;  // that a dictionary does not show
  std::vector<IndexEntry> headings;           // paragraphs with just this text become headings
};

// In UTF-8, with the ids of its places.
std::string HtmlOf(const BookText& text, const Piece& piece,
                   const std::vector<const BookPlace*>& places, const Additions& additions);

#endif
