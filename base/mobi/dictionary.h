// The headwords of a dictionary, which stand in an index beside the text and often only there.
#ifndef KAV_BASE_MOBI_DICTIONARY_H
#define KAV_BASE_MOBI_DICTIONARY_H

#include <cstddef>
#include <string>
#include <vector>

#include "base/mobi/reader.h"

namespace kav_mobi {

// A word that an entry of a dictionary explains, and where in the text the entry begins.
struct Headword {
  size_t position;
  std::string markup;  // of the word, as it may stand on a page
};

// The headwords that their entries do not show, in the order of their positions; none for a book
// that is no dictionary.
std::vector<Headword> HeadwordsOf(const Book& book, Bytes text);

}  // namespace kav_mobi

#endif
