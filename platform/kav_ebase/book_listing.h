// The list of the files that go into a book's container.
#ifndef KAV_EBASE_BOOK_LISTING_H
#define KAV_EBASE_BOOK_LISTING_H

#include <cstddef>
#include <string>
#include <vector>

#include "base/directory_cursor.h"

// Relative paths, kept compact because a book can have a hundred thousand files: all in one string,
// each ended by a NUL.
class BookListing {
 public:
  // Lists the regular files below the directory in byte order of their paths. Symbolic links and
  // special files are left out, and so is the file mimetypeName at the top. 0 or a KavEbaseResult.
  int Read(DirectoryCursor& book, const char* mimetypeName);

  size_t Size() const { return starts.size(); }
  const char* operator[](size_t index) const { return text.data() + starts[index]; }

 private:
  class Walk;

  std::string text;
  std::vector<size_t> starts;
};

#endif
