// Characters as a reader of plain texts sees them: blanks, letters, capitals, ideographs.
#ifndef KAVEPUB_TEXT_CHARACTERS_H
#define KAVEPUB_TEXT_CHARACTERS_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

struct Character {
  char32_t code;
  size_t length;  // in bytes, at least 1
};

// The character at a position inside the text; a byte that begins none counts as U+FFFD.
inline Character CharacterAt(std::string_view text, size_t position) {
  const auto byte = [&](size_t i) {
    return position + i < text.size() ? static_cast<unsigned char>(text[position + i]) : 0U;
  };
  const auto follows = [&](size_t i) { return (byte(i) & 0xC0U) == 0x80U; };
  const unsigned first = byte(0);
  if (first < 0x80) return {first, 1};
  if (first >= 0xC2 && first < 0xE0 && follows(1)) {
    return {(first & 0x1FU) << 6 | (byte(1) & 0x3FU), 2};
  }
  if (first >= 0xE0 && first < 0xF0 && follows(1) && follows(2)) {
    return {(first & 0x0FU) << 12 | (byte(1) & 0x3FU) << 6 | (byte(2) & 0x3FU), 3};
  }
  if (first >= 0xF0 && first < 0xF5 && follows(1) && follows(2) && follows(3)) {
    return {(first & 0x07U) << 18 | (byte(1) & 0x3FU) << 12 | (byte(2) & 0x3FU) << 6 |
                (byte(3) & 0x3FU),
            4};
  }
  return {0xFFFD, 1};
}

inline constexpr bool IsDigit(char32_t c) {
  return c >= '0' && c <= '9';
}

bool IsBlank(char32_t c);    // of any width, tabs and byte order marks included
bool IsLetter(char32_t c);   // of any script, ideographs included
bool IsCapital(char32_t c);  // of a script that has small letters
bool IsSmall(char32_t c);

// Of a script that sets no blanks between words and letters of one width: Han, kana, their
// punctuation and full-width forms.
bool IsWide(char32_t c);

// Lower case of Latin, Greek and Cyrillic letters.
char32_t Folded(char32_t c);

void Append(char32_t c, std::string& out);

// The first character; the last one; U+0000 of an empty text.
char32_t FirstOf(std::string_view text);
char32_t LastOf(std::string_view text);
std::string_view WithoutFirst(std::string_view text);
std::string_view WithoutLast(std::string_view text);

std::string_view WithoutBlanksBefore(std::string_view text);
std::string_view WithoutBlanksBehind(std::string_view text);
std::string_view Trimmed(std::string_view text);

size_t CountCharacters(std::string_view text);

// Lower case, for comparisons.
std::string FoldedText(std::string_view text);

// Equal for texts whose letters and digits are equal, case, blanks and punctuation aside; 0 for
// texts without any.
std::uint64_t LettersHash(std::string_view text);

#endif
