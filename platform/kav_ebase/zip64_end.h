// The end of a container with more entries than the plain format can count.
#ifndef KAV_EBASE_ZIP64_END_H
#define KAV_EBASE_ZIP64_END_H

#include <cstddef>
#include <cstdint>
#include <string>

// The plain format has 16 bits for the count, and the largest value means "see ZIP64".
constexpr uint64_t kMostPlainEntries = 0xFFFE;

// The size of the plain record that ends every container (without a comment).
constexpr size_t kPlainEndSize = 22;

// The three records behind the central directory: ZIP64's, its locator, and the plain one.
std::string Zip64End(uint64_t entries, uint64_t directoryStart, uint64_t directorySize);

#endif
