// The line classifier against a plain reading of its rules, line after line.
#include <algorithm>

#include "builder/epub_base.h"
#include "fuzz/harness.h"

namespace {

struct Counters {
  int indent = 0, lastLength = 0, longest = 0;
  bool operator==(const Counters&) const = default;
};

// 1 when a line begins a paragraph.
int Decide(const std::string& line, Counters& counters) {
  size_t at = 0;
  int indent = 0;
  bool hasBullet = false;
  for (size_t length = 1; length != 0; at += length) {
    const bool isBullet = line.compare(at, 3, "\u2022") == 0 || line.compare(at, 3, "\uF06E") == 0;
    length = isBullet ? 3 : line[at] == ' ' ? 1 : 0;
    hasBullet = hasBullet || isBullet;
    if (length != 0) ++indent;
  }
  const size_t gap = line.find("   ", at);
  const bool hasGap = gap != std::string::npos && gap + 3 < line.size();
  const bool isAfterShort =
      counters.longest != 0 &&
      counters.lastLength <= static_cast<int>(static_cast<float>(counters.longest) * 0.8F);
  const bool isIndented = indent != counters.indent;
  const bool begins =
      isIndented ? indent > 0 : line[0] == '\n' || hasBullet || hasGap || isAfterShort;
  const int length = static_cast<int>(line.size());
  counters = {indent, length, std::max(counters.longest, length)};
  return begins ? 1 : 0;
}

std::string Cleaned(const std::string& line) {
  const size_t lineEnd = line.rfind('\n');
  std::string cleaned;
  for (size_t at = 0; at < line.size(); ++at) {
    const bool isBlank = at == lineEnd || line[at] == '\f' || line[at] == '\x18';
    cleaned += isBlank ? ' ' : line[at];
    if (line[at] == '&') cleaned += "amp;";
  }
  return cleaned;
}

}  // namespace

void Fuzz(const std::string& input, Sandbox& /*box*/) {
  Counters expected;
  Counters counters;
  EpubBase book;
  std::string text;
  for (size_t at = 0; at < input.size();) {
    // A vertical tab ends a line, as line feeds may stand inside.
    const size_t end = std::min(input.find('\v', at), input.size());
    const std::string line = input.substr(at, end - at).c_str();
    at = end + 1;
    const int decision =
        book.LineProc(line.c_str(), text, counters.indent, counters.lastLength, counters.longest);
    if (line.empty()) {
      Require(decision == EPUB_E_EMPTY_LINE, "an empty line is none");
    } else {
      Require(decision == Decide(line, expected), "the decision on: " + line);
    }
    Require(counters == expected, "the counters after: " + line);
    Require(text == Cleaned(line), "the text of: " + line);
  }
}
