// The lines of a text file as a conversion sees them.
#ifndef KAV_EPUB_TEXT_CHUNKS_H
#define KAV_EPUB_TEXT_CHUNKS_H

#include <memory>
#include <string>
#include <string_view>

#include "base/unique_fd.h"

inline constexpr int kLinesPerPage = 60;

// Reads a regular file in chunks that end after a line feed or after 254 bytes.
class TextChunks {
 public:
  explicit TextChunks(const char* path);

  bool IsOpen() const { return static_cast<bool>(descriptor); }

  // Moves to the next chunk; false at the end of the file, and when it cannot be read.
  bool Next();

  // The chunk without its NUL bytes: no document can hold one, and the text behind it counts.
  const std::string& Text() const { return text; }

  // Goes back to the beginning; false when that fails.
  bool Rewind();

  // Whether the end was reached because reading failed.
  bool HasFailed() const { return failed; }

 private:
  bool Fill();

  UniqueFd descriptor;
  bool failed = false;
  std::unique_ptr<char[]> buffer;
  std::string_view unread;
  std::string text;
};

#endif
