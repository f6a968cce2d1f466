// What the indices and the guide of a MOBI book say of its text.
#ifndef KAVEPUB_MOBI_INDICES_H
#define KAVEPUB_MOBI_INDICES_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "edition/mobi/book_text.h"

struct IndexEntry {
  std::string title;
  size_t position = 0;
  size_t level = 0;
};

// The entries of the contents in reading order, each behind the one above it.
std::vector<IndexEntry> ContentsIndex(const BookText& text);

// The links of a contents page, which are between two positions, nested as its lists are.
std::vector<IndexEntry> LinksBetween(const BookText& text, size_t begin, size_t end);

// Places with a meaning.
struct Guide {
  std::optional<size_t> contents;  // the book's own contents page
  std::optional<size_t> start;     // of reading
};
Guide GuideOf(const BookText& text);

// The entries of a dictionary in the order of the text, of which each position has one.
struct DictionaryEntry {
  std::string word;
  size_t position = 0;
  size_t length = 0;  // 0 where it is not known
};
std::vector<DictionaryEntry> DictionaryIndex(const BookText& text);

#endif
