// Decides by counts of lines.
#include "edition/text/layout.h"

#include <algorithm>

namespace {

bool IsMostlyCode(const LineStatistics& lines) {
  constexpr std::uint64_t kFewLines = 8;
  return lines.textLines >= kFewLines &&
         (lines.code * 4 > lines.textLines || lines.records * 2 > lines.textLines ||
          lines.technical * 5 > lines.textLines * 2);
}

// Of the widths, the one that five lines in a hundred exceed.
size_t WidthOf(const LineStatistics& lines) {
  size_t width = LineStatistics::kWidest;
  std::uint64_t wider = lines.widths[width];
  while (width > 0 && wider * 20 < lines.textLines) wider += lines.widths[--width];
  return width;
}

}  // namespace

Layout LayoutOf(const LineStatistics& lines, ParagraphStyle wanted) {
  Layout layout;
  layout.isWide = lines.IsWide();
  layout.width = WidthOf(lines);
  layout.isSpaced = lines.IsSpaced();
  layout.isAozora = layout.isWide && lines.aozora > 0;
  layout.style = wanted;
  if (wanted == ParagraphStyle::kAuto) {
    const bool isWrapped =
        lines.IsWrapped() || layout.isSpaced || (!layout.isWide && lines.HasShortBlocks());
    layout.style = IsMostlyCode(lines) ? ParagraphStyle::kVerbatim
                   : isWrapped         ? ParagraphStyle::kWrapped
                                       : ParagraphStyle::kLine;
  }
  layout.isSpaced = layout.isSpaced && layout.style == ParagraphStyle::kWrapped;
  const std::uint64_t behindBlank = lines.textLines - lines.followers;
  layout.isIndented = layout.isSpaced || (lines.followersIndented * 20 > lines.textLines &&
                                          lines.followersIndented > behindBlank / 2);
  layout.shareOfCapitals = lines.ShareOfCapitals();
  layout.hasPauses = behindBlank * 8 < lines.textLines;
  return layout;
}
