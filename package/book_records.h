// What goes into the documents of a book. The records of package and navigation document are
// compact, because a book can have a hundred thousand pages.
#ifndef KAV_EPUB_BOOK_RECORDS_H
#define KAV_EPUB_BOOK_RECORDS_H

#include <cstdint>
#include <deque>
#include <new>
#include <string>
#include <vector>

#include "base/document_writer.h"
#include "fileutil/result_codes.h"
#include "platform/kav_tool/kav_tool.h"

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

struct PageRecords {
  using Row = std::vector<std::string>;

  struct Block {
    enum class Kind { kParagraph, kPicture, kSheet, kTable };

    Kind kind;
    std::string text;  // of a paragraph; the reference of a picture or sheet
    std::vector<Row> rows;
  };

  std::string title;
  std::deque<Block> blocks;
  Block* lastParagraph = nullptr;
  Block* lastTable = nullptr;
  Row* lastRow = nullptr;  // of any table: a cell may come before the newest one has a row
  bool isIncomplete = false;
};

// A null text counts as empty.
inline const char* TextOf(const char* text) {
  return text == nullptr ? "" : text;
}

// Runs a step that adds to the records. Adding reports no failure, so saving has to.
template <typename Records, typename Step>
void KeepIn(Records& records, Step step) {
  try {
    step();
  } catch (const std::bad_alloc&) {
    records.isIncomplete = true;
  }
}

// Writes the document that the records are for; they are null when it was never begun.
template <typename Records, typename Write>
std::uint32_t Save(const Records* records, const char* path, DocumentWriter::Type type,
                   Write write) {
  if (records == nullptr) return EPUB_E_NO_PAGE;
  if (KavIsStrNullOrEmpty(path) != 0) return EPUB_E_ARGUMENT;
  if (records->isIncomplete) return EPUB_E_WRITE;
  try {
    DocumentWriter document(path, type);
    write(document, *records);
    return document.Close() ? EPUB_OK : EPUB_E_WRITE;
  } catch (const std::bad_alloc&) {
    return EPUB_E_WRITE;
  }
}

#endif
