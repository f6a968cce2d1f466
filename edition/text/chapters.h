// Chooses the headings of a text among the lines that can be ones, by the evidence of all of it.
#ifndef KAVEPUB_TEXT_CHAPTERS_H
#define KAVEPUB_TEXT_CHAPTERS_H

#include <cstdint>
#include <vector>

#include "edition/text/survey.h"

struct Heading {
  // Where its title is when its own line has none.
  enum class Title : std::uint8_t { kOwnLine, kSameBlock, kNextLine };

  std::uint32_t candidate = 0;
  std::uint32_t line = 0;
  std::uint8_t level = 0;    // 0 is the highest
  bool isInContents = true;  // a section of a chapter need not be
  bool isUnderlined = false;
  Title title = Title::kOwnLine;
};

// A line of a list of contents and the heading that it names.
struct ListLink {
  std::uint32_t line = 0;
  std::uint32_t textLine = 0;
  std::uint32_t heading = 0;  // its index

  bool operator<(const ListLink& other) const { return line < other.line; }
};

struct Structure {
  std::vector<Heading> headings;  // in order
  std::vector<ListLink> links;    // in order
};

Structure FindChapters(const SurveyResult& survey);

#endif
