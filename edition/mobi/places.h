// The places of a book that something leads to: documents and ids in them.
#ifndef KAVEPUB_MOBI_PLACES_H
#define KAVEPUB_MOBI_PLACES_H

#include <cstddef>
#include <string>
#include <vector>

#include "edition/mobi/piece_plan.h"

struct BookPlace {
  size_t position;
  size_t document;
  std::string id;      // empty for the beginning of the document
  bool isOwn = false;  // the id of an element that is there
};

class BookPlaces {
 public:
  // All positions that anything leads to, ascending.
  BookPlaces(const BookText& text, const std::vector<Piece>& pieces,
             const std::vector<size_t>& positions);

  const BookPlace& At(size_t position) const;  // of one of those
  // Those in a document that have ids, in order.
  std::vector<const BookPlace*> In(size_t document) const;

 private:
  std::vector<BookPlace> places;
};

#endif
