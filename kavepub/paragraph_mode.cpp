// Measures the widths of lines.
#include "kavepub/paragraph_mode.h"

#include <fstream>
#include <string>

#include "kavepub/terminal.h"

namespace {

constexpr size_t kWidestWrappedLine = 120;  // columns; hardly a text is wrapped beyond
constexpr size_t kWideShare = 10;           // one line in so many is wider: not wrapped
constexpr size_t kEnoughLines = 100'000;

}  // namespace

bool LinesAreParagraphs(const std::filesystem::path& text) {
  std::ifstream file(text, std::ios::binary);
  size_t lines = 0;
  size_t wide = 0;
  for (std::string line; lines < kEnoughLines && std::getline(file, line);) {
    if (line.find_first_not_of(' ') == std::string::npos) continue;
    ++lines;
    if (WidthOf(line) > kWidestWrappedLine) ++wide;
  }
  return wide * kWideShare > lines;
}
