// Draws a bar of fixed width with a percentage.
#include "kavepub/progress_bar.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace {

constexpr int kWidth = 30;
constexpr char kWipeLine[] = "\r\x1b[K";

bool IsTerminal() {
  const char* terminal = std::getenv("TERM");
  return isatty(STDERR_FILENO) != 0 && terminal != nullptr && std::string(terminal) != "dumb";
}

}  // namespace

ProgressBar::ProgressBar(std::string bookName)
    : label(std::move(bookName)), isShown(IsTerminal()) {}

ProgressBar::~ProgressBar() {
  if (isShown) std::fputs(kWipeLine, stderr);
}

void ProgressBar::Show(double share) {
  const int now = std::clamp(static_cast<int>(share * 100), 0, 100);
  if (!isShown || now == percentage) return;
  percentage = now;
  const auto filled = static_cast<size_t>(now * kWidth / 100);
  const std::string bar = std::string(filled, '#') + std::string(kWidth - filled, '.');
  std::fprintf(stderr, "%s%s [%s] %3d%%", kWipeLine, label.c_str(), bar.c_str(), now);
}
