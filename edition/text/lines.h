// The lines of a text that is read piece by piece.
#ifndef KAVEPUB_TEXT_LINES_H
#define KAVEPUB_TEXT_LINES_H

#include <cstdint>
#include <string>
#include <string_view>

#include "edition/book/result.h"

// A text in UTF-8 with line feeds as line ends, which can be read several times.
class TextReader {
 public:
  virtual ~TextReader() = default;
  virtual Status Restart() = 0;
  // The next piece; empty at the end. It stays until the next call.
  virtual Result<std::string_view> Next() = 0;
};

class Lines {
 public:
  // A longer line comes in pieces, so that a text without line ends fits into memory, too.
  static constexpr size_t kLongest = size_t{1} << 16;

  explicit Lines(TextReader& source) : reader(source) {}

  // False at the end.
  Result<bool> Next();

  std::string_view Text() const { return text; }
  std::uint64_t Number() const { return number; }   // from 0
  std::uint64_t Offset() const { return offset; }   // of its beginning, in bytes
  bool IsContinued() const { return isContinued; }  // a further piece of the last line

 private:
  bool TakeFromPiece();

  TextReader& reader;
  std::string_view piece;
  std::string carried;
  std::string_view text;
  std::uint64_t number = UINT64_MAX;
  std::uint64_t offset = 0;
  std::uint64_t position = 0;  // behind the line
  bool isContinued = false;
  bool isOpen = false;  // the line has a further piece
  bool isAtEnd = false;
};

#endif
