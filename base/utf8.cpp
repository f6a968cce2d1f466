// The table of well-formed UTF-8 byte sequences (Unicode 15, table 3-7) and its use.
#include "base/utf8.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr size_t kLongestCharacter = 4;

// The first byte decides the length and the range of the second byte; all further bytes are 80..BF.
struct Sequence {
  unsigned char firstLow, firstHigh, secondLow, secondHigh;
  size_t length;
};

constexpr Sequence kSequences[] = {
    {0x00, 0x7F, 0x00, 0x00, 1}, {0xC2, 0xDF, 0x80, 0xBF, 2}, {0xE0, 0xE0, 0xA0, 0xBF, 3},
    {0xE1, 0xEC, 0x80, 0xBF, 3}, {0xED, 0xED, 0x80, 0x9F, 3}, {0xEE, 0xEF, 0x80, 0xBF, 3},
    {0xF0, 0xF0, 0x90, 0xBF, 4}, {0xF1, 0xF3, 0x80, 0xBF, 4}, {0xF4, 0xF4, 0x80, 0x8F, 4},
};

constexpr std::uint64_t kHighBits = 0x8080808080808080;

constexpr unsigned char Byte(std::string_view text, size_t index) {
  return static_cast<unsigned char>(text[index]);
}

size_t AsciiLength(std::string_view text) {
  size_t length = 0;
  for (std::uint64_t word = 0; length + sizeof word <= text.size(); length += sizeof word) {
    std::memcpy(&word, text.data() + length, sizeof word);
    if ((word & kHighBits) != 0) break;
  }
  while (length < text.size() && Byte(text, length) < 0x80) ++length;
  return length;
}

bool IsContinuation(std::string_view text, size_t index) {
  return (Byte(text, index) & 0xC0) == 0x80;
}

// The characters of three bytes whose second byte may be any, as nearly all of East Asia's are.
size_t PlainTripleLength(std::string_view text) {
  size_t length = 0;
  while (length + 3 <= text.size()) {
    const unsigned char first = Byte(text, length);
    const bool isPlain = first > 0xE0 && first < 0xF0 && first != 0xED;
    if (!isPlain || !IsContinuation(text, length + 1) || !IsContinuation(text, length + 2)) break;
    length += 3;
  }
  return length;
}

}  // namespace

Utf8Unit DecodeUtf8(std::string_view text) {
  const unsigned char first = Byte(text, 0);
  if (first < 0x80) return {Utf8Unit::Kind::kCharacter, 1, first};
  const auto* sequence = std::find_if(
      std::begin(kSequences), std::end(kSequences),
      [first](const Sequence& row) { return first >= row.firstLow && first <= row.firstHigh; });
  if (sequence == std::end(kSequences)) return {Utf8Unit::Kind::kInvalid, 1, 0};

  // The payload of the first byte is what its length mark leaves: 5, 4 or 3 bits.
  std::uint32_t codePoint = first & (0xFFU >> (sequence->length + 1));
  for (size_t i = 1; i < sequence->length; ++i) {
    if (i == text.size()) return {Utf8Unit::Kind::kUnfinished, i, 0};
    const unsigned char next = Byte(text, i);
    const bool fits = i == 1 ? next >= sequence->secondLow && next <= sequence->secondHigh
                             : (next & 0xC0) == 0x80;
    if (!fits) return {Utf8Unit::Kind::kInvalid, i, 0};
    codePoint = codePoint << 6 | (next & 0x3FU);
  }
  return {Utf8Unit::Kind::kCharacter, sequence->length, codePoint};
}

void AppendUtf8(std::uint32_t codePoint, std::string& out) {
  if (codePoint < 0x80) {
    out += static_cast<char>(codePoint);
    return;
  }
  const unsigned continuations = codePoint < 0x800 ? 1 : codePoint < 0x10000 ? 2 : 3;
  const unsigned lengthMark = 0xF00U >> (continuations + 1) & 0xFF;
  out += static_cast<char>(lengthMark | codePoint >> 6 * continuations);
  for (unsigned left = continuations; left-- > 0;) {
    out += static_cast<char>(0x80 | (codePoint >> 6 * left & 0x3F));
  }
}

size_t ValidUtf8Length(std::string_view text) {
  size_t length = 0;
  while (length < text.size()) {
    length += AsciiLength(text.substr(length));
    length += PlainTripleLength(text.substr(length));
    if (length == text.size()) break;
    const Utf8Unit unit = DecodeUtf8(text.substr(length));
    if (unit.kind != Utf8Unit::Kind::kCharacter) break;
    length += unit.length;
  }
  return length;
}

Utf8Count CountUtf8(std::string_view text) {
  Utf8Count count;
  while (true) {
    text.remove_prefix(AsciiLength(text));
    if (text.empty()) return count;
    const Utf8Unit unit = DecodeUtf8(text);
    ++(unit.kind == Utf8Unit::Kind::kCharacter ? count.multiByte : count.broken);
    text.remove_prefix(unit.length);
  }
}

size_t UnfinishedUtf8Tail(std::string_view text) {
  const size_t longest = std::min(text.size(), kLongestCharacter - 1);
  for (size_t length = longest; length > 0; --length) {
    const std::string_view tail = text.substr(text.size() - length);
    const Utf8Unit unit = DecodeUtf8(tail);
    if (unit.kind == Utf8Unit::Kind::kUnfinished && unit.length == length) return length;
  }
  return 0;
}

size_t Utf8Continuation(std::string_view head, std::string_view text) {
  if (head.empty()) return 0;
  const std::string joined = std::string(head) + std::string(text.substr(0, kLongestCharacter - 1));
  const size_t length = DecodeUtf8(joined).length;
  return length > head.size() ? length - head.size() : 0;
}
