// How the lines of a text make paragraphs.
#ifndef KAVEPUB_TEXT_LAYOUT_H
#define KAVEPUB_TEXT_LAYOUT_H

#include <cstddef>

#include "edition/text/survey.h"

enum class ParagraphStyle : std::uint8_t {
  kAuto,
  kLine,     // a paragraph is a line
  kWrapped,  // of several lines, up to a blank line or to an indented one
  kVerbatim  // lines stay as they are: code, logs, records
};

struct Layout {
  ParagraphStyle style = ParagraphStyle::kLine;
  size_t width = 0;            // to which it is wrapped, in characters
  bool isWide = false;         // mostly Han or kana: lines are joined without a blank
  bool isAozora = false;       // notes and readings of that kind
  bool isSpaced = false;       // of wrapped lines each is followed by a blank line
  bool isIndented = false;     // paragraphs begin with an indented line, without a blank line
  bool hasPauses = false;      // blank lines are rare and mean something
  double shareOfCapitals = 0;  // of lines within a sentence: how many begin with one
};

Layout LayoutOf(const LineStatistics& lines, ParagraphStyle wanted);

#endif
