// What goes into the package and navigation documents, kept compact: a book can have a hundred
// thousand pages.
#ifndef KAV_EPUB_BOOK_RECORDS_H
#define KAV_EPUB_BOOK_RECORDS_H

#include <cstdint>
#include <deque>
#include <new>
#include <string>

struct PackageRecords {
  struct Item {
    std::int32_t number;      // of a record; below zero for the parts of a cover
    const std::string* href;  // lives as long as these records
  };

  std::string title;
  std::string author;
  std::string identifier;
  std::deque<Item> items;
  std::deque<std::string> coverNames;
  bool isIncomplete = false;  // memory ran out
};

struct NavigationRecords {
  std::string title;
  std::string identifier;
  std::deque<std::string> sources;
  bool isIncomplete = false;
};

// Runs a step that adds to the records. Adding reports no failure, so saving has to.
template <typename Records, typename Step>
void KeepIn(Records& records, Step step) {
  try {
    step();
  } catch (const std::bad_alloc&) {
    records.isIncomplete = true;
  }
}

#endif
