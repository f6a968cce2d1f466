// Whether a text is wrapped, or holds a whole paragraph on each line.
#ifndef KAVEPUB_TEXT_LINE_WIDTHS_H
#define KAVEPUB_TEXT_LINE_WIDTHS_H

#include <array>
#include <cstddef>
#include <string_view>

// Tells by the widths of the lines: a wrapped text keeps to a column, whole paragraphs do not.
class LineWidths {
 public:
  // The next piece of a text in UTF-8 with line feeds as line ends.
  void Feed(std::string_view piece);

  // Whether further lines would change nothing.
  bool IsEnough() const;

  // To be asked once, at the end.
  bool LinesAreParagraphs();

 private:
  static constexpr size_t kWidestWrapped = 120;  // columns; hardly a text is wrapped beyond

  void EndLine();
  bool IsMostlyWideLetters() const;
  double ShareOfFullLines() const;

  bool isBlank = true;  // the line so far
  size_t width = 0;
  size_t wideOfLine = 0;

  size_t lines = 0;  // that are not blank
  size_t columns = 0;
  size_t wideLetters = 0;
  std::array<size_t, kWidestWrapped + 2> count = {};  // the last one: all that are wider
};

#endif
