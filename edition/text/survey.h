// The first reading of a text: gathers what its structure can be told from, and keeps no text.
#ifndef KAVEPUB_TEXT_SURVEY_H
#define KAVEPUB_TEXT_SURVEY_H

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "edition/text/heading_line.h"

// A line that can be a heading, with what surrounds it.
struct Candidate {
  enum Surrounding : std::uint8_t {
    kSentenceBefore = 1,    // the text before it ends as sentences do, or is none
    kIsListed = 2,          // a list of contents names it
    kNextIsCapitals = 4,    // of the next line that is not blank
    kNextEndsSentence = 8,  // or opens what follows, as with a colon
    kNextIsNoTitle = 16,    // but speech, the caption of a picture, or a small letter begins it
    kInsideList = 32,       // of contents
    kNextStandsAlone = 64,  // a blank line follows it
  };

  std::uint64_t offset = 0;      // of its line, in bytes
  std::uint32_t line = 0;        // from 0
  std::uint32_t textLine = 0;    // among lines that are not blank
  std::uint32_t kind = 0;        // equal for headings that can be of one sequence
  std::uint32_t outerKind = 0;   // of a volume named in the same line; 0 without one
  std::int32_t outerNumber = 0;  // also of what a dotted number belongs to
  std::int32_t number = 0;      // of a listed one: its place in the list, 0 where that has a number
  std::uint32_t titleHash = 0;  // 0 without a title
  std::uint16_t flags = 0;      // of HeadingLine
  HeadingLine::Form form = HeadingLine::Form::kBare;
  NamedPlace place = NamedPlace::kNone;
  std::uint8_t surrounding = 0;
  std::uint8_t indent = 0;
  std::uint8_t length = 0;  // in characters; all of these end at 255
  std::uint8_t blanksBefore = 0;
  std::uint8_t blanksBehind = 0;
  std::uint8_t blockLines = 0;    // from it to the next blank line
  std::uint8_t nextLength = 0;    // of the next line that is not blank
  std::uint8_t secondLength = 0;  // of the one behind that, where no blank line is between
  char underline = 0;             // the sign that a line below it is made of

  Unit UnitIn() const { return static_cast<Unit>(kind >> 16); }
  bool Has(HeadingLine::Flag flag) const { return (flags & flag) != 0; }
  bool Is(Surrounding what) const { return (surrounding & what) != 0; }
};

// Kinds beside those of HeadingLine.
inline constexpr Unit kListedUnit = 0xFFF0;      // only a list of contents tells that it is one
inline constexpr Unit kSetApartUnit = 0xFFF1;    // only its place tells
inline constexpr Unit kMarkedUnit = 0xFFF2;      // the text says so in a note, with its level
inline constexpr Unit kUnderlinedUnit = 0xFFF3;  // only the line below it tells
inline constexpr std::uint32_t KindOf(Unit unit, std::uint16_t detail) {
  return static_cast<std::uint32_t>(unit) << 16 | detail;
}

// How the lines of a text are.
struct LineStatistics {
  static constexpr size_t kWidest = 160;

  std::uint64_t bytes = 0;
  std::uint64_t lines = 0;
  std::uint64_t textLines = 0;  // not blank
  std::uint64_t followers = 0;  // behind another that is not blank
  std::uint64_t indented = 0;
  std::uint64_t followersIndented = 0;
  std::uint64_t unfinishedBehindBlank = 0;  // the same across one blank line, of nearly full lines
  std::uint64_t unfinished = 0;             // end within a sentence, another line follows at once
  std::uint64_t unfinishedCapitals = 0;     // and that begins with a capital, as verse does
  std::uint64_t hyphens = 0;                // end with a hyphen
  std::uint64_t wide = 0;                   // lines of wide characters
  std::uint64_t aozora = 0;                 // lines with notes or readings of the Aozora kind
  std::uint64_t code = 0;                   // end or begin as source code does
  std::uint64_t records = 0;                // lines of fields: CSV, logs
  std::uint64_t technical = 0;              // full of digits and of signs that prose lacks
  std::array<std::uint64_t, kWidest + 1> widths = {};  // lines by characters; the last: all longer

  // Most lines are pieces of paragraphs.
  bool IsWrapped() const;
  // Blocks of short lines, as of verse, where sentences go on in the next line.
  bool HasShortBlocks() const;
  // The share of lines that begin with a capital though they go on with a sentence.
  double ShareOfCapitals() const;
  // As IsWrapped, with a blank line behind each line.
  bool IsSpaced() const;
  // Of the lines, those nearly as wide as the widest.
  double ShareOfFullLines() const;
  // Most characters are wide ones.
  bool IsWide() const { return wide * 2 > textLines; }
};

// Where a line is.
struct LinePlace {
  std::uint32_t line = 0;
  std::uint32_t textLine = 0;
};

struct SurveyResult {
  LineStatistics lines;
  std::string beginning;  // some kilobytes
  std::string sample;     // lines from here and there
  std::uint32_t textLines = 0;
  std::vector<Candidate> candidates;
  std::vector<LinePlace> listLines;   // of the entries of lists of contents, by their place
  std::vector<LinePlace> listTitles;  // what such lists begin with
  // The lines between which the text of a book with a licence around it stands.
  std::uint32_t firstLine = 0;
  std::uint32_t firstTextLine = 0;
  std::uint32_t endLine = UINT32_MAX;
  std::uint32_t endTextLine = UINT32_MAX;
};

// Which lines are headings: those that are found to be, or those that a pattern finds, by their
// text or by their number, from 0.
using IsHeadingLine = std::function<bool(std::string_view line, std::uint32_t number)>;

class Survey {
 public:
  // With a pattern, what it finds are the headings.
  explicit Survey(IsHeadingLine headingPattern = nullptr);

  // The text piece by piece.
  void Feed(std::string_view piece);
  SurveyResult Finish();

 private:
  // A line as far as it is of interest.
  struct Line {
    std::string_view head;  // without the blanks around it
    std::string_view tail;  // its last bytes, without blanks behind
    size_t indent;
    size_t bytes;
    size_t characters;
  };

  void Sample(std::string_view piece);
  void TakeLine(std::string_view line);
  void TakeBlank();
  void Measure(const Line& line);
  void FillNext(const Line& line);
  void CloseBlock();
  bool CanBegin(const Line& line) const;
  void TryHeading(const Line& line);
  void NoteShort(const Line& line);
  void TryUnderlined(const Line& rule);
  void AddCandidate(const Line& line, const HeadingLine& heading, std::uint32_t kind);
  void ListEntry(const Line& line, const HeadingLine* heading);
  bool IsEndOfList(const Line& line, const HeadingLine* heading, std::uint64_t hash) const;
  bool IsBeginOfBook(const Line& line);

  IsHeadingLine pattern;
  SurveyResult result;
  std::uint64_t nextSample;
  std::string partial;  // the line that is not ended
  size_t partialBytes = 0;
  std::uint64_t offset = 0;  // of the line
  std::uint32_t lineNumber = 0;
  std::uint32_t textLine = 0;
  size_t blanks = 0;  // directly before
  size_t previousLength = 0;
  bool previousEndsSentence = true;
  // The last line, where it is short and behind a blank one.
  std::string shortLine;
  Candidate shortPlace;
  size_t openNext = 0;   // the first candidate that waits for its next line
  size_t openBlock = 0;  // and for the end of its block
  size_t openSecond = 0;

  // The list of contents that is being read, and what all of them name.
  bool inList = false;
  size_t listEntries = 0;
  size_t listLongestPause = 0;
  std::uint32_t listKind = 0;  // of its last numbered entry
  std::int32_t listNumber = 0;
  bool listAtVolume = false;
  std::array<std::uint64_t, 3> listFirst = {};  // its first entries
  std::unordered_map<std::uint64_t, std::int32_t> listed;
};

#endif
