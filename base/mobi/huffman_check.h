// Whether a Huffman coded book can be unpacked in sensible time.
#ifndef KAV_BASE_MOBI_HUFFMAN_CHECK_H
#define KAV_BASE_MOBI_HUFFMAN_CHECK_H

#include <vector>

#include "base/mobi/reader.h"

namespace kav_mobi {

// The phrases of the book's code may be packed themselves, in other phrases. libmobi unpacks them
// anew each time they occur; a few that hold each other a hundred times, and nothing else, would
// keep it busy for years, and codes without bits for ever. `code` is the code table and the phrase
// records after it, `texts` the packed text records. False when anything takes far more work than
// it is long, when a phrase contains itself, or when the code contradicts itself.
bool UnpacksInTime(const std::vector<Bytes>& code, const std::vector<Bytes>& texts);

}  // namespace kav_mobi

#endif
