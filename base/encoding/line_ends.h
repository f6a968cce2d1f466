// The line ends of texts.
#ifndef KAV_BASE_ENCODING_LINE_ENDS_H
#define KAV_BASE_ENCODING_LINE_ENDS_H

#include <cstddef>
#include <string>
#include <string_view>

inline constexpr char kDosEndOfFile = '\x1A';

// Makes the line ends of a text in UTF-8 line feeds. Byte order marks at the beginning of lines and
// NUL bytes are dropped, and the end-of-file bytes that DOS put behind the last line.
class LineEnds {
 public:
  // Appends the next piece of a text, which begins and ends with a whole character, to out.
  void Append(std::string_view piece, std::string& out);

 private:
  bool isLineStart = true;
  bool isAfterCarriageReturn = false;
  size_t endOfFileBytes = 0;  // held back
};

#endif
