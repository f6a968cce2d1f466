// What is to be made into a book, and how.
#ifndef KAVEPUB_BOOK_ORDER_H
#define KAVEPUB_BOOK_ORDER_H

#include <filesystem>
#include <string>
#include <vector>

#include "hosts/kavepub/source/edition_job.h"

inline constexpr char kBookExtension[] = ".epub";

// As an input or output it stands for the standard one.
inline constexpr char kStandardStream[] = "-";

enum class BookKind { kText, kHtml, kMobi, kPictures, kMarkdown };

inline const char* NameOf(BookKind kind) {
  constexpr const char* kNames[] = {"text", "HTML", "MOBI", "pictures", "Markdown"};
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
  Cause refusalCause = Cause::kBook;
  std::string name;  // of what it is made of: below the one folder that was named, else as named
};

// A text without a name is called like its book, if that has a name.
inline std::string TitleOf(const BookOrder& order) {
  if (order.inputs.front() != kStandardStream) return order.inputs.front().stem().string();
  return order.output == kStandardStream ? "Untitled" : order.output.stem().string();
}

// Books that read like bought ones, where the library makes them of such an input yet; or books of
// a fixed form.
enum class Edition { kReader, kPlain };

// Whether books are made in cells: as far as the system has what these need; only if it has all; or
// in this process.
enum class Sandbox { kAuto, kRequire, kOff };

// What holds for all books of a call.
struct BookOptions {
  Edition edition = Edition::kReader;
  EditionOptions chosen;
  bool isAlone = true;            // the only book in the making, which may use all processors
  std::filesystem::path workDir;  // where working directories are made; empty: the system's place
  Sandbox sandbox = Sandbox::kAuto;
  unsigned memory = 0;   // in megabytes, that a cell may take; 0: by the size of the input
  unsigned seconds = 0;  // of processor time, likewise
  bool force = false;    // replace books that exist
  bool dryRun = false;   // make nothing
};

#endif
