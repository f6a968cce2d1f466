// A book to be that has no place yet.
#ifndef KAVEPUB_DRAFT_H
#define KAVEPUB_DRAFT_H

#include <filesystem>

#include "hosts/kavepub/plan/book_order.h"

struct Draft {
  BookOrder order;
  // What the book is named after: without the extension of a book, and relative to the directory of
  // the books when there is one.
  std::filesystem::path name;
  std::filesystem::path directory;  // of what it is made of
  bool isShared = false;            // further named pages or pictures join it
};

#endif
