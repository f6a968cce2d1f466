// The opening of a book's files by their relative paths.
#ifndef KAV_EBASE_BOOK_FILES_H
#define KAV_EBASE_BOOK_FILES_H

#include <cstdint>
#include <string>
#include <string_view>

#include "base/directory_cursor.h"

struct BookFile {
  UniqueFd descriptor;
  uint64_t size = 0;
};

// Goes from folder to folder as the paths come, so in sorted order each is entered once. No
// symbolic link is followed on the way, even one that took a folder's place after the listing.
class BookFiles {
 public:
  // The cursor stands at the book's top.
  explicit BookFiles(DirectoryCursor& top) : cursor(top) {}

  // False when there is no regular file at path, or it cannot be read.
  bool Open(std::string_view path, BookFile& file);

 private:
  bool GoTo(std::string_view target);

  DirectoryCursor& cursor;
  std::string folder;  // where the cursor stands; empty, or with a slash at its end
};

#endif
