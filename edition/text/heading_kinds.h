// What headings are called: chapters, volumes and letters in many languages, prefaces and notes.
#ifndef KAVEPUB_TEXT_HEADING_KINDS_H
#define KAVEPUB_TEXT_HEADING_KINDS_H

#include <cstdint>
#include <string_view>

// Where a kind of heading stands among others when the text does not tell.
enum class Rank : std::uint8_t { kVolume, kChapter, kSection };

using Unit = std::uint16_t;

// Units of headings that the table has no words for.
inline constexpr Unit kNoUnit = 0;
inline constexpr Unit kUnknownWord = 1;  // "ADVENTURE I", "第三夜"
inline constexpr Unit kBareNumber = 2;
inline constexpr Unit kDate = 3;
inline constexpr Unit kDottedNumber = 4;  // "1.2", of a section of what has the first number
inline constexpr Unit kFirstNamedUnit = 5;

// A heading without a number.
enum class NamedPlace : std::uint8_t {
  kNone,
  kContents,  // of a list of contents; no heading of a chapter
  kFront,     // before the chapters of a book or a volume
  kBack,      // behind them
  kBetween,   // anywhere
  kRunning    // of another list, which holds names of chapters, too: "Illustrations"
};

// The unit of a word as headings begin with it, in lower case ("chapter", "chap."); kNoUnit for
// others.
Unit UnitOfWord(std::string_view folded);

// The unit of what stands behind a number in Chinese, Japanese and Korean ("回", "장"), and its
// length in bytes; longer ones first.
struct UnitMatch {
  Unit unit = kNoUnit;
  size_t length = 0;
};
UnitMatch UnitOfCounter(std::string_view text);
// "卷之一", "卷一", "巻の一": the unit before the number.
UnitMatch UnitOfPrefix(std::string_view text);

Rank RankOf(Unit unit);

// What a line that is a heading without a number is; the text is trimmed and in lower case, without
// punctuation at its end.
NamedPlace PlaceOfName(std::string_view folded);

// The length in bytes of the longest name that PlaceOfName knows.
size_t LongestName();

// Words before a number that make it no heading: "figure", "page", "january".
bool IsNoHeadingWord(std::string_view folded);

#endif
