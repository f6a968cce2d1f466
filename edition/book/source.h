// What makes the model of a book from inputs of one kind.
#ifndef KAVEPUB_BOOK_SOURCE_H
#define KAVEPUB_BOOK_SOURCE_H

#include <cstdint>
#include <string>
#include <vector>

#include "edition/book/input.h"
#include "edition/book/result.h"
#include "edition/book/run.h"
#include "edition/book/sink.h"

// How many bytes of a text may be no characters; these become U+FFFD. A few are so few that the
// text was hardly read in a wrong encoding.
enum class EncodingErrors { kFew, kNone, kAny };

// What its host has to say about the reading of inputs. Empty where that is to be found out.
struct SourceOptions {
  std::string language;                 // a tag of BCP 47
  std::string chapters;                 // "none", or a regular expression for headings
  std::vector<std::uint32_t> headings;  // lines of a text that are, from 0, ascending
  std::string encoding;                 // by name
  std::string paragraphs;               // "line" or "wrapped"
  EncodingErrors encodingErrors = EncodingErrors::kFew;
  std::string importRoot;  // a directory that holds the inputs, and what pages may show
  bool keepsNavigation = false;
  unsigned threads = 1;  // that read, the caller's included
};

// Reads the inputs, of which there is at least one, and gives the book to the sink, from Begin to
// Finish. What it finds out beside that, it tells the run.
using Source = Status (*)(const std::vector<Input>& inputs, const SourceOptions& options,
                          BookSink& sink, Run& run);

#endif
