// Measures the widths of lines.
#include "hosts/kavepub/source/paragraph_mode.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <numeric>
#include <string>

#include "hosts/kavepub/console/terminal.h"

namespace {

constexpr size_t kWidestWrappedLine = 120;  // columns; hardly a text is wrapped beyond
constexpr size_t kWideShare = 10;           // one line in so many is wider: not wrapped
constexpr size_t kEnoughLines = 100'000;

// Of a text that is wrapped, half of the lines and more are nearly as wide as its widest ones;
// where every line is a paragraph, one in four is, if as many.
constexpr double kFullLine = 0.85;
constexpr double kFewFullLines = 0.35;

constexpr size_t kColumnsOfWideLetter = 2;

struct Widths {
  size_t lines = 0;
  size_t columns = 0;
  size_t wideLetters = 0;
  std::array<size_t, kWidestWrappedLine + 2> count = {};  // the last one: all that are wider
};

Widths Measure(const std::filesystem::path& text) {
  Widths widths;
  std::ifstream file(text, std::ios::binary);
  for (std::string line; widths.lines < kEnoughLines && std::getline(file, line);) {
    if (line.find_first_not_of(' ') == std::string::npos) continue;
    const size_t width = WidthOf(line);
    ++widths.lines;
    widths.columns += width;
    widths.wideLetters += static_cast<size_t>(std::count_if(
        line.begin(), line.end(), [](char c) { return static_cast<unsigned char>(c) >= 0xE0; }));
    ++widths.count[std::min(width, widths.count.size() - 1)];
  }
  return widths;
}

bool IsMostlyWideLetters(const Widths& widths) {
  return widths.wideLetters * kColumnsOfWideLetter * 2 > widths.columns;
}

double ShareOfFullLines(const Widths& widths) {
  size_t widest = widths.count.size() - 1;
  for (size_t wider = widths.count[widest]; wider * 20 < widths.lines && widest > 0;) {
    wider += widths.count[--widest];
  }
  const auto least = static_cast<std::ptrdiff_t>(static_cast<double>(widest) * kFullLine);
  const size_t full = std::accumulate(widths.count.begin() + least, widths.count.end(), size_t{0});
  return static_cast<double>(full) / static_cast<double>(widths.lines);
}

}  // namespace

bool LinesAreParagraphs(const std::filesystem::path& text) {
  const Widths widths = Measure(text);
  if (widths.count.back() * kWideShare > widths.lines) return true;
  // Lines of speech are short in any text; of Latin ones, tables and listings are, too.
  return IsMostlyWideLetters(widths) && ShareOfFullLines(widths) < kFewFullLines;
}
