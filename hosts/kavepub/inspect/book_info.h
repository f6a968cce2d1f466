// What a finished book says of itself.
#ifndef KAVEPUB_BOOK_INFO_H
#define KAVEPUB_BOOK_INFO_H

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "hosts/kavepub/source/edition_job.h"

struct BookInfo {
  std::string format;  // "EPUB", "MOBI" or "text"
  std::string title;
  std::string author;
  std::string language;   // empty when the book names none
  std::string encoding;   // of a text
  std::size_t pages = 0;  // of an EPUB, as many as its spine lists; else 0
  std::size_t pictures = 0;
  std::uintmax_t bytes = 0;
  std::vector<BookReport::Chapter> contents = {};  // of an EPUB, and of a text if it were one
};

// Reads an EPUB or MOBI book, or a text. Throws a Failure when it is none of them, or damaged.
BookInfo ReadBookInfo(const std::filesystem::path& book);

// A contents list for people: a line for each entry, with its line in a text.
std::string ContentsForPeople(const std::vector<BookReport::Chapter>& contents);

#endif
