// Where the bytes of a book go.
#ifndef KAVEPUB_BOOK_OUTPUT_H
#define KAVEPUB_BOOK_OUTPUT_H

#include <string_view>

#include "edition/book/result.h"

class Output {
 public:
  virtual ~Output() = default;

  // Takes the next bytes, in large pieces. After a failure nothing more is given.
  virtual Status Write(std::string_view bytes) = 0;
};

#endif
