// Makes all line ends the same.
#include "base/encoding/line_ends.h"

#include <algorithm>

#include "base/byte_set.h"

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr ByteSet kSpecial(std::string_view("\n\r\x1A\0", 4));

size_t LengthOfLine(std::string_view text) {
  return std::min(kSpecial.FirstIn(text), text.size());
}

}  // namespace

void LineEnds::Append(std::string_view piece, std::string& out) {
  while (!piece.empty()) {
    if (isLineStart && piece.starts_with(kByteOrderMark)) {
      piece.remove_prefix(kByteOrderMark.size());
      continue;
    }
    const char c = piece.front();
    const bool isSecondHalf = c == '\n' && isAfterCarriageReturn;
    const size_t plain = LengthOfLine(piece);
    if (c == kDosEndOfFile) {
      ++endOfFileBytes;
    } else if (c != '\0' && !isSecondHalf) {
      out.append(endOfFileBytes, kDosEndOfFile);
      endOfFileBytes = 0;
      out += plain > 0 ? piece.substr(0, plain) : "\n";
    }
    isAfterCarriageReturn = c == '\r';
    isLineStart = c == '\r' || c == '\n';
    piece.remove_prefix(std::max<size_t>(plain, 1));
  }
}
