// Numerals as headings have them: in digits, Roman, Chinese, or spelled out in a language.
#ifndef KAVEPUB_TEXT_NUMERALS_H
#define KAVEPUB_TEXT_NUMERALS_H

#include <cstddef>
#include <cstdint>
#include <string_view>

enum class NumeralWriting : std::uint8_t { kDigits, kRoman, kSmallRoman, kHan, kWords, kOrdinal };

struct Numeral {
  int value = 0;
  size_t length = 0;  // in bytes; 0 where there is none
  NumeralWriting writing = NumeralWriting::kDigits;

  explicit operator bool() const { return length > 0; }
};

// The numeral at the beginning of a text. Digits of any script; Roman numerals in one case, as a
// word of their own; words of English, French, German, Spanish, Italian, Portuguese and Russian,
// cardinal or ordinal, up to 999, and some of Arabic, Hebrew and Vietnamese.
Numeral ReadNumeral(std::string_view text);

// The same, of Chinese characters only: 十二, 一百零三, 一〇三, 廿一, 壹佰.
Numeral ReadHanNumeral(std::string_view text);
// With blanks between the characters, as where headings are set wide: "十　二".
Numeral ReadSpacedHanNumeral(std::string_view text);
// Hebrew letters: י״ב. Words look the same, so it is asked for behind "פרק" and the like only.
Numeral ReadHebrewNumeral(std::string_view text);
Numeral ReadDigits(std::string_view text);
Numeral ReadRomanNumeral(std::string_view text);
Numeral ReadNumberWords(std::string_view text);

#endif
