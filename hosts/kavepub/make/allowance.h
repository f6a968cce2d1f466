// What a cell may read and take for a piece of work.
#ifndef KAVEPUB_ALLOWANCE_H
#define KAVEPUB_ALLOWANCE_H

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "hosts/kavepub/work/work.h"

// Files and directories: the inputs, all beside and below a page, and what options name.
std::vector<std::filesystem::path> ReadableFor(const Work& work);

// Bytes of memory.
std::uint64_t MemoryFor(const Work& work);

// By the library's names of limits. What was not chosen goes by the size of the inputs, and is far
// more than any sound book of that size was seen to take.
std::vector<std::pair<const char*, std::uint64_t>> LimitsFor(const Work& work);

#endif
