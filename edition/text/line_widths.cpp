// Counts columns: letters of three bytes and more are mostly as wide as two of one.
#include "edition/text/line_widths.h"

#include <algorithm>
#include <numeric>

namespace {

constexpr size_t kWideShare = 10;  // one line in so many is wider: not wrapped
constexpr size_t kEnoughLines = 100'000;

// Of a text that is wrapped, half of the lines and more are nearly as wide as its widest ones;
// where every line is a paragraph, one in four is, if as many.
constexpr double kFullLine = 0.85;
constexpr double kFewFullLines = 0.35;

constexpr size_t kColumnsOfWideLetter = 2;

}  // namespace

void LineWidths::Feed(std::string_view piece) {
  for (const char c : piece) {
    if (IsEnough()) return;
    if (c == '\n') {
      EndLine();
      continue;
    }
    const auto byte = static_cast<unsigned char>(c);
    const bool isWide = byte >= 0xE0;
    if (c != ' ') isBlank = false;
    if (isWide) ++wideOfLine;
    if ((byte & 0xC0) != 0x80) width += isWide ? kColumnsOfWideLetter : 1;
  }
}

bool LineWidths::IsEnough() const {
  return lines >= kEnoughLines;
}

void LineWidths::EndLine() {
  if (!isBlank) {
    ++lines;
    columns += width;
    wideLetters += wideOfLine;
    ++count[std::min(width, count.size() - 1)];
  }
  isBlank = true;
  width = 0;
  wideOfLine = 0;
}

bool LineWidths::LinesAreParagraphs() {
  EndLine();
  if (count.back() * kWideShare > lines) return true;
  // Lines of speech are short in any text; of Latin ones, tables and listings are, too.
  return IsMostlyWideLetters() && ShareOfFullLines() < kFewFullLines;
}

bool LineWidths::IsMostlyWideLetters() const {
  return wideLetters * kColumnsOfWideLetter * 2 > columns;
}

double LineWidths::ShareOfFullLines() const {
  size_t widest = count.size() - 1;
  for (size_t wider = count[widest]; wider * 20 < lines && widest > 0;) {
    wider += count[--widest];
  }
  const auto least = static_cast<std::ptrdiff_t>(static_cast<double>(widest) * kFullLine);
  const size_t full = std::accumulate(count.begin() + least, count.end(), size_t{0});
  return static_cast<double>(full) / static_cast<double>(lines);
}
