// The end of a ZIP container: what follows its central directory.
#ifndef KAV_BASE_ZIP_END_H
#define KAV_BASE_ZIP_END_H

#include <cstddef>
#include <cstdint>
#include <string>

// The plain format has 16 bits for the count and 32 for the offsets, and the largest value of each
// means "see ZIP64".
constexpr uint64_t kMostPlainEntries = 0xFFFE;
constexpr uint64_t kMostPlainOffset = 0xFFFFFFFE;

// The first version of the format to know ZIP64.
constexpr uint64_t kZip64Version = 45;

// The size of the plain record that ends every container (without a comment).
constexpr size_t kPlainEndSize = 22;

// That plain record; what it has no room for is clipped to the largest value.
std::string PlainZipEnd(uint64_t entries, uint64_t directoryStart, uint64_t directorySize);

// The three records behind the central directory: ZIP64's, its locator, and the plain one.
std::string Zip64End(uint64_t entries, uint64_t directoryStart, uint64_t directorySize);

// Appends a number as the format has them: the lowest byte first.
void PutNumber(std::string& record, uint64_t value, int bytes);

#endif
