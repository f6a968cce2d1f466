// Draws on the terminal with the few control sequences that all of them know.
#include "hosts/kavepub/console/terminal.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace {

constexpr int kBarWidth = 30;
// A line that wraps could not be wiped.
constexpr char kCutLongLines[] = "\x1b[?7l";
constexpr char kWrapLongLines[] = "\x1b[?7h";
constexpr char kWipe[] = "\r\x1b[K";
constexpr char kGreen[] = "\x1b[32m";
constexpr char kPlain[] = "\x1b[0m";

bool IsTerminal() {
  const char* terminal = std::getenv("TERM");
  const std::string_view name = terminal == nullptr ? "" : terminal;
  return isatty(STDERR_FILENO) != 0 && !name.empty() && name != "dumb";
}

bool UsesColour() {
  const char* noColour = std::getenv("NO_COLOR");
  return noColour == nullptr || *noColour == '\0';
}

}  // namespace

LiveLine::LiveLine() : isShown(IsTerminal()) {}

LiveLine::~LiveLine() {
  Wipe();
}

void LiveLine::Draw(const std::string& text) {
  if (!isShown) return;
  std::fprintf(stderr, "%s%s%s%s", kWipe, kCutLongLines, text.c_str(), kWrapLongLines);
  isDirty = true;
}

void LiveLine::Wipe() {
  if (isDirty) std::fputs(kWipe, stderr);
  isDirty = false;
}

std::string Bar(double share) {
  const int percentage = std::clamp(static_cast<int>(share * 100), 0, 100);
  const auto filled = static_cast<size_t>(percentage * kBarWidth / 100);
  const std::string bar = std::string(filled, '#') + std::string(kBarWidth - filled, '.');
  std::array<char, 16> number;
  std::snprintf(number.data(), number.size(), " %3d%%", percentage);
  return "[" + (UsesColour() ? kGreen + bar + kPlain : bar) + "]" + number.data();
}

std::string Clock(double seconds) {
  const long whole = std::max(0L, std::lround(seconds));
  std::array<char, 32> text;
  if (whole >= 3600) {
    std::snprintf(text.data(), text.size(), "%ld:%02ld:%02ld", whole / 3600, whole / 60 % 60,
                  whole % 60);
  } else {
    std::snprintf(text.data(), text.size(), "%ld:%02ld", whole / 60, whole % 60);
  }
  return text.data();
}

size_t WidthOf(std::string_view text) {
  size_t width = 0;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    const bool beginsLetter = (byte & 0xC0) != 0x80;
    if (beginsLetter) width += byte >= 0xE0 ? 2 : 1;
  }
  return width;
}
