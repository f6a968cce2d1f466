// What a book says about itself: title, authors, cover.
#ifndef KAV_BASE_MOBI_METADATA_H
#define KAV_BASE_MOBI_METADATA_H

#include <string>
#include <vector>

#include "base/mobi/reader.h"

namespace kav_mobi {

// Begins a reference to a resource.
constexpr Bytes kEmbedPrefix = "kindle:embed:";

std::string TitleOf(const Book& book);
// The texts of a kind of the book's metadata, each on one line; none that are empty.
std::vector<std::string> StringsOf(const Book& book, MOBIExthTag tag);
std::string AuthorsOf(const Book& book);

// The resources that may be the cover, best first.
std::vector<size_t> CoverCandidates(const Book& book);

// The number in a reference such as "kindle:embed:000A?mime=image/jpeg", whose digits are 0-9 and
// A-V; 0 when text does not begin with prefix and a digit.
size_t KindleNumber(Bytes text, Bytes prefix);

}  // namespace kav_mobi

#endif
