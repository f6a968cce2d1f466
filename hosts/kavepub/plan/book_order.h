// What is to be made into a book, and how.
#ifndef KAVEPUB_BOOK_ORDER_H
#define KAVEPUB_BOOK_ORDER_H

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "hosts/kavepub/source/paragraph_mode.h"
#include "hosts/kavepub/source/text_source.h"

inline constexpr char kBookExtension[] = ".epub";

// As an input or output it stands for the standard one.
inline constexpr char kStandardStream[] = "-";

enum class BookKind { kText, kHtml, kMobi, kPictures };

inline const char* NameOf(BookKind kind) {
  constexpr const char* kNames[] = {"text", "HTML", "MOBI", "pictures"};
  return kNames[static_cast<size_t>(kind)];
}

// One book to be.
struct BookOrder {
  BookKind kind = BookKind::kText;
  std::vector<std::filesystem::path> inputs;  // one text or MOBI book; pages or pictures in order
  std::filesystem::path folder;  // that the book is made of; empty for one of files that were named
  std::filesystem::path output;
  bool isInDirectory = false;  // that is to hold the books, and is made for them
  std::string remark;   // on its name, when another book has the one that it would have; or empty
  std::string refusal;  // why it cannot be made, known beforehand; empty when it can
};

// What holds for all books of a call.
struct BookOptions {
  std::optional<std::string> title;   // none: the document's own, or the name of the input
  std::optional<std::string> author;  // none: the document's own, or none
  std::filesystem::path cover;        // empty: none
  DecodingOptions decoding;
  ParagraphMode paragraphs = ParagraphMode::kAuto;
  std::filesystem::path workDir;  // where working directories are made; empty: the system's place
  bool force = false;             // replace books that exist
  bool dryRun = false;            // make nothing
};

#endif
