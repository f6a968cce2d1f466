// What a finished book says of itself.
#ifndef KAVEPUB_BOOK_INFO_H
#define KAVEPUB_BOOK_INFO_H

#include <cstdint>
#include <filesystem>
#include <string>

struct BookInfo {
  std::string format;  // "EPUB" or "MOBI"
  std::string title;
  std::string author;
  std::size_t pages = 0;  // of an EPUB, as many as its spine lists; of a MOBI book 0
  std::size_t pictures = 0;
  std::uintmax_t bytes = 0;
};

// Reads an EPUB or MOBI book. Throws a Failure when it is neither, or damaged.
BookInfo ReadBookInfo(const std::filesystem::path& book);

#endif
