// Measures the widths of lines.
#include "kavepub/paragraph_mode.h"

#include <fstream>
#include <string>
#include <string_view>

namespace {

constexpr size_t kWidestWrappedLine = 120;  // columns; hardly a text is wrapped beyond
constexpr size_t kWideShare = 10;           // one line in so many is wider: not wrapped
constexpr size_t kEnoughLines = 100'000;

// Columns on a screen, roughly: letters of three bytes and more are mostly as wide as two of one.
size_t Width(std::string_view line) {
  size_t width = 0;
  for (const char c : line) {
    const auto byte = static_cast<unsigned char>(c);
    const bool beginsLetter = (byte & 0xC0) != 0x80;
    if (beginsLetter) width += byte >= 0xE0 ? 2 : 1;
  }
  return width;
}

}  // namespace

bool LinesAreParagraphs(const std::filesystem::path& text) {
  std::ifstream file(text, std::ios::binary);
  size_t lines = 0;
  size_t wide = 0;
  for (std::string line; lines < kEnoughLines && std::getline(file, line);) {
    if (line.find_first_not_of(' ') == std::string::npos) continue;
    ++lines;
    if (Width(line) > kWidestWrappedLine) ++wide;
  }
  return wide * kWideShare > lines;
}
