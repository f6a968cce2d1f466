// Where the text of a MOBI book is cut into documents, and what leads to where in it.
#ifndef KAVEPUB_MOBI_PIECE_PLAN_H
#define KAVEPUB_MOBI_PIECE_PLAN_H

#include <cstddef>
#include <string>
#include <vector>

#include "edition/mobi/book_text.h"

// A document: bytes of one part of the text, which may begin in the midst of elements.
struct Piece {
  size_t part = 0;
  size_t begin = 0;
  size_t end = 0;
  std::string opening;   // the start tags of elements that go on in it
  std::string heading;   // of a part of a dictionary that has none itself
  size_t content = 0;    // where its text or its first picture begins
  bool hasText = false;  // and not only pictures
  size_t pictures = 0;
  std::string picture;  // the reference to the first one
};

// A place to cut at, whatever stands there.
struct Cut {
  size_t position;
  std::string heading;
};

struct MobiPlan {
  std::vector<Piece> pieces;    // in reading order; those with nothing in them are left out
  std::vector<size_t> targets;  // of links, ascending, each once
  bool hasMedia = false;        // sound or film
};

// Old books are cut at their page breaks, up to the first one of the cuts; new ones at their parts;
// all at the cuts, which ascend, and where pieces would become very long.
MobiPlan PlanOf(const BookText& text, const std::vector<Cut>& cuts);

// The number of the piece in which a position lies, or the next one; the last one behind all.
size_t PieceOf(const std::vector<Piece>& pieces, size_t position);

#endif
