// The conversion of one file into one book.
#ifndef KAVEPUB_CONVERT_H
#define KAVEPUB_CONVERT_H

#include <filesystem>
#include <optional>
#include <string>

struct BookOrder {
  std::filesystem::path input;
  std::filesystem::path output;      // empty: beside the input, with the extension ".epub"
  std::optional<std::string> title;  // none: the name of the input without its extension
  std::string author;
  std::filesystem::path cover;  // empty: none
};

// Converts and returns the path of the book. Throws a Failure, or Interrupted; a book that was at
// the output path before is then untouched.
std::filesystem::path ConvertBook(const BookOrder& order);

#endif
