// The marks that Japanese texts of the Aozora kind carry: readings, emphasis, headings, characters
// that their encoding lacks.
#ifndef KAVEPUB_TEXT_AOZORA_H
#define KAVEPUB_TEXT_AOZORA_H

#include <string>
#include <string_view>

// Whether a line has notes of that kind: "［＃".
bool HasAozoraNote(std::string_view line);

// The level of a heading that a line is marked as, from 0; -1 for others.
int AozoraHeadingLevel(std::string_view line);

// What notes say of a whole line, and of those that follow.
struct AozoraLine {
  std::string text;      // with marks of markup.h; notes are taken out
  bool isRight = false;  // at the foot of the line
  bool isPageBreak = false;
  int indentation = -1;  // of the lines from here on: begins; 0: ends; -1: as before
};

AozoraLine ReadAozoraLine(std::string_view line);

#endif
