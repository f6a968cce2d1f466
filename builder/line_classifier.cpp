// The rules by which a line of plain text begins a paragraph or continues one.
#include <algorithm>
#include <climits>
#include <string_view>

#include "builder/epub_base.h"
#include "package/escape.h"

namespace {

constexpr float kShortLineShare = 0.8F;  // a line this short, against the longest, ends a paragraph
constexpr size_t kWideGap = 3;           // blanks in a row that set text apart
constexpr std::string_view kBullets[] = {"\xE2\x80\xA2", "\xEF\x81\xAE"};  // U+2022, U+F06E

struct Indentation {
  size_t count = 0;
  bool hasBullet = false;
};

// Blanks and bullets at the beginning of a line count one each.
Indentation MeasureIndentation(std::string_view line) {
  Indentation indentation;
  for (;;) {
    const auto* bullet =
        std::find_if(std::begin(kBullets), std::end(kBullets),
                     [&](std::string_view glyph) { return line.starts_with(glyph); });
    if (bullet != std::end(kBullets)) {
      indentation.hasBullet = true;
      line.remove_prefix(bullet->size());
    } else if (line.starts_with(' ')) {
      line.remove_prefix(1);
    } else {
      return indentation;
    }
    ++indentation.count;
  }
}

// Three blanks or more with another byte behind them. Every third byte is enough to meet a gap.
bool HasWideGap(std::string_view text) {
  for (size_t i = kWideGap - 1; i < text.size(); i += kWideGap) {
    if (text[i] != ' ') continue;
    const size_t before = text.find_last_not_of(' ', i);
    const size_t begin = before == std::string_view::npos ? 0 : before + 1;
    const size_t end = std::min(text.find_first_not_of(' ', i), text.size());
    if (end - begin > kWideGap || (end - begin == kWideGap && end < text.size())) return true;
    i = end;
  }
  return false;
}

bool FollowsShortLine(int lastLength, int longest) {
  return longest != 0 &&
         lastLength <= static_cast<int>(static_cast<float>(longest) * kShortLineShare);
}

// The line's text for a document: ampersands escaped, the control characters of old texts blank.
std::string CleanText(std::string_view line) {
  std::string text(line);
  const size_t lineEnd = text.rfind('\n');  // an inner one ends a line of verse
  if (lineEnd != std::string::npos) text[lineEnd] = ' ';
  for (char& c : text) c = c == '\x18' || c == '\f' ? ' ' : c;
  return EscapeAmpersands(text.c_str());
}

}  // namespace

int EpubBase::LineProc(const char* line, std::string& out, int& lastIndent, int& lastLength,
                       int& longest) {
  const std::string_view text = line == nullptr ? "" : line;
  if (text.empty()) {
    out.clear();
    return EPUB_E_EMPTY_LINE;
  }
  const int length = static_cast<int>(std::min<size_t>(text.size(), INT_MAX));
  const Indentation indentation = MeasureIndentation(text);
  const int indent = static_cast<int>(std::min<size_t>(indentation.count, INT_MAX));

  bool beginsParagraph = text.front() == '\n' || indentation.hasBullet;
  if (indent != lastIndent) {
    // Back at the margin, a paragraph with an indented first line goes on.
    beginsParagraph = indent > 0;
    lastIndent = indent;
  } else if (!beginsParagraph) {
    beginsParagraph =
        HasWideGap(text.substr(indentation.count)) || FollowsShortLine(lastLength, longest);
  }
  longest = std::max(longest, length);
  lastLength = length;
  out = CleanText(text);
  return beginsParagraph ? 1 : 0;
}
