// A line of a journal: what became of one book, as an object of JSON.
#ifndef KAVEPUB_JOURNAL_LINE_H
#define KAVEPUB_JOURNAL_LINE_H

#include <simdjson.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

#include "hosts/kavepub/console/failure.h"

enum class Fate { kDone, kUpToDate, kFailed };

struct JournalLine {
  using Time = std::chrono::sys_time<std::chrono::milliseconds>;

  std::string name;    // of what the book is made of, below the folder that was named
  std::string output;  // the book's path
  Fate fate = Fate::kDone;
  Cause cause = Cause::kBook;  // of a failure
  std::string reason;          // of a failure
  double seconds = 0;
  std::uint64_t bytesIn = 0;   // 0 when not known
  std::uint64_t bytesOut = 0;  // of the book; 0 when there is none
  std::string source;          // the digest of all that goes into the book, as far as it is known
  std::string host;
  std::string share;  // "3/100"
  Time time;          // when it was finished
};

// "2026-01-31T23:59:59.999Z"
std::string TextOf(JournalLine::Time time);

// The line with its line feed. A name that is no UTF-8 is there twice, readable and as the
// hexadecimal digits of its bytes.
std::string TextOf(const JournalLine& line);

// Reads many lines.
class JournalReader {
 public:
  // What a report needs of a line: all but output, source and share. Null when it is no whole line
  // of a journal. Fields that later versions may add are passed over. Valid until the next call.
  const JournalLine* Read(std::string_view text);

 private:
  simdjson::dom::parser parser;
  std::string padded;  // the line, with the room behind it that the parser needs
  JournalLine line;
};

#endif
