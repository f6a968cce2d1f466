// What a book is made of, so that a later call can tell whether it would make the same again.
#ifndef KAVEPUB_PROVENANCE_H
#define KAVEPUB_PROVENANCE_H

#include <cstdint>
#include <string>

#include "hosts/kavepub/plan/book_order.h"

// Digests; they tell nobody what they were made of.
struct Provenance {
  std::string source;       // names and content of all that is known to go into the book; empty for
                            // the standard input
  std::string options;      // all that have a say in what comes out
  std::string place;        // the way from the book to its source; empty when that does not matter
  std::uint64_t bytes = 0;  // of the source
};

// Reads all of the source. Throws a Failure, or Interrupted.
Provenance ProvenanceOf(const BookOrder& order, const BookOptions& options);

// Whether that is all that goes into the book: not so of the standard input, nor of pages that are
// named one by one, which may show pictures that nobody named.
bool IsAllKnown(const BookOrder& order);

#endif
