// A table with open addressing.
#include "hosts/kavepub/record/fate_table.h"

#include <xxhash.h>

#include <algorithm>
#include <utility>

namespace {

constexpr size_t kSmallest = size_t{1} << 12;  // a power of two, as all sizes

}  // namespace

FateTable::FateTable() : entries(kSmallest) {}

BookState& FateTable::Of(std::string_view name) {
  const std::uint64_t hash = std::max<std::uint64_t>(1, XXH3_64bits(name.data(), name.size()));
  Entry* entry = &Find(hash);
  if (entry->hash == 0) {
    if (count * 4 >= entries.size() * 3) {
      Grow();
      entry = &Find(hash);
    }
    ++count;
    entry->hash = hash;
    entry->state.fate = BookState::kMissing;
  }
  return entry->state;
}

FateTable::Entry& FateTable::Find(std::uint64_t hash) {
  const size_t mask = entries.size() - 1;
  size_t place = hash & mask;
  while (entries[place].hash != 0 && entries[place].hash != hash) place = (place + 1) & mask;
  return entries[place];
}

void FateTable::Grow() {
  std::vector<Entry> old(entries.size() * 2);
  old.swap(entries);
  for (const Entry& entry : old) {
    if (entry.hash != 0) Find(entry.hash) = entry;
  }
}
