// Cuts pieces into lines, without copying those that lie in one piece.
#include "edition/text/lines.h"

#include <algorithm>

#include "edition/text/characters.h"

namespace {

// Where a text is best cut: behind a sentence, else a blank, else a character.
size_t CutOf(std::string_view text) {
  constexpr size_t kFar = 4096;
  const size_t least = text.size() - std::min(text.size(), kFar);
  for (const std::string_view end : {"。", ". ", "！", "？", " ", "，"}) {
    const size_t at = text.rfind(end);
    if (at != std::string_view::npos && at > least) return at + end.size();
  }
  size_t cut = text.size();
  while (cut > least && (static_cast<unsigned char>(text[cut - 1]) & 0xC0U) == 0x80U) --cut;
  return cut > least + 1 ? cut - 1 : text.size();
}

}  // namespace

// Takes a line, or a piece of one, from what is at hand; false when more is needed.
bool Lines::TakeFromPiece() {
  const size_t end = piece.find('\n');
  if (end != std::string_view::npos) {
    if (carried.empty()) {
      text = piece.substr(0, end);
    } else {
      carried.append(piece, 0, end);
      text = carried;
    }
    piece.remove_prefix(end + 1);
    position += text.size() + 1;
    isOpen = false;
    return true;
  }
  carried.append(piece);
  piece = {};
  return false;
}

Result<bool> Lines::Next() {
  isContinued = isOpen;
  if (!isContinued) ++number;
  offset = position;
  if (text.data() == carried.data()) carried.erase(0, text.size());
  for (;;) {
    if (carried.size() < kLongest && !isAtEnd && TakeFromPiece()) return true;
    if (carried.size() >= kLongest || (isAtEnd && carried.size() > kLongest)) {
      text =
          std::string_view(carried).substr(0, CutOf(std::string_view(carried).substr(0, kLongest)));
      position += text.size();
      isOpen = true;
      return true;
    }
    if (isAtEnd) {
      text = carried;
      const bool hasLine = !text.empty();
      position += text.size();
      isOpen = false;
      return hasLine;
    }
    Result<std::string_view> next = reader.Next();
    if (!next) return next.Why();
    piece = *next;
    isAtEnd = piece.empty();
  }
}
