// What became of each of millions of books, in 16 bytes for each.
#ifndef KAVEPUB_FATE_TABLE_H
#define KAVEPUB_FATE_TABLE_H

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

// The last that is known of a book.
struct BookState {
  std::uint64_t time : 42;    // in milliseconds since 1970, until the year 2109
  std::uint64_t fate : 2;     // as Fate has them; kMissing of a book that no journal tells of
  std::uint64_t reason : 17;  // of a failure, as the caller numbers them
  std::uint64_t wasMade : 1;
  std::uint64_t isListed : 1;
  std::uint64_t isTold : 1;

  static constexpr std::uint64_t kMissing = 3;
};

// Books by the hashes of their names. That two of ten million names have the same hash of 64 bits
// happens once in 370,000 libraries.
class FateTable {
 public:
  FateTable();

  // The state of a book; a missing one when the name is new. Valid until the next call.
  BookState& Of(std::string_view name);

  template <typename Visit>
  void ForEach(Visit visit) const {
    for (const Entry& entry : entries) {
      if (entry.hash != 0) visit(entry.state);
    }
  }

 private:
  struct Entry {
    std::uint64_t hash = 0;  // 0 of a free place
    BookState state = {};
  };

  Entry& Find(std::uint64_t hash);
  void Grow();

  std::vector<Entry> entries;
  size_t count = 0;
};

#endif
