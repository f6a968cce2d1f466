// What a line says of itself when it is read as a heading.
#ifndef KAVEPUB_TEXT_HEADING_LINE_H
#define KAVEPUB_TEXT_HEADING_LINE_H

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "edition/text/heading_kinds.h"
#include "edition/text/numerals.h"

// "第三回", "Book the First".
struct NumberedPart {
  Unit unit = kNoUnit;
  int number = 0;
};

struct HeadingLine {
  enum class Form : std::uint8_t {
    kMarked,   // a word and its number: "CHAPTER I", "第一回", "First Part"
    kCounter,  // a number and its counter, without what marks it as a heading: "一回", "12章"
    kBare,     // a number only, or with a title: "12", "I. The Beginning"; a date
    kNamed     // "PREFACE"
  };
  enum Flag : std::uint16_t {
    kGlued = 1,           // the title follows without a blank or a mark
    kSmallLetter = 2,     // the title begins with a small letter
    kEndsSentence = 4,    // as prose does
    kCommas = 8,          // more than one
    kPageNumber = 16,     // at its end, as in a list of contents
    kEndMark = 32,        // "第三回完"
    kSpeech = 64,         // in quotes
    kCapitals = 128,      // no small letter in it
    kFunctionWord = 256,  // goes on as prose does: "第三回的"
    kOfVolume = 512       // a named one of the volume that its line names first: "上卷 附錄"
  };

  Form form = Form::kBare;
  NumberedPart outer;        // "第二卷" of "第二卷 第三章"
  NumberedPart part;         // of a named one the number is 0
  std::uint16_t detail = 0;  // what sets apart kinds of one unit: writing, mark, unknown word
  NamedPlace place = NamedPlace::kNone;
  std::uint16_t flags = 0;
  size_t inner = 0;  // where the part begins, behind the outer one
  size_t title = 0;  // where it begins, behind the number
  size_t body = 0;   // where the heading begins, behind "正文" and ornaments

  bool Has(Flag flag) const { return (flags & flag) != 0; }
};

// Whether a line, without the blanks around it, can be a heading by its beginning; fills `heading`
// when it can. It does not judge: prose can begin so, too.
bool ReadHeadingLine(std::string_view line, HeadingLine& heading);

// Lines longer than this, in bytes, are prose.
inline constexpr size_t kLongestHeadingLine = 400;

#endif
