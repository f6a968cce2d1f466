// Room for pixels, and their turning.
#include "edition/raster/pixels.h"

#include <utility>

kavepub_raster_code Pixels::Make(std::uint64_t wantedWidth, std::uint64_t wantedHeight) {
  constexpr std::uint64_t kMost = KAVEPUB_RASTER_MOST_PIXELS;
  if (wantedWidth == 0 || wantedHeight == 0) return KAVEPUB_RASTER_DAMAGED;
  if (wantedWidth > kMost || wantedHeight > kMost / wantedWidth) return KAVEPUB_RASTER_LARGE;
  width = static_cast<size_t>(wantedWidth);
  height = static_cast<size_t>(wantedHeight);
  rows = std::make_unique_for_overwrite<Pixel[]>(Count());
  return KAVEPUB_RASTER_OK;
}

Pixels Turned(Pixels pixels, int orientation) {
  // Where a pixel of the turned picture was: whether its column and row change places, and which of
  // both were counted from the other end.
  constexpr struct {
    bool isAcross;
    bool isMirrored;
    bool isUpsideDown;
  } kTurns[] = {{false, false, false}, {false, true, false}, {false, true, true},
                {false, false, true},  {true, false, false}, {true, false, true},
                {true, true, true},    {true, true, false}};
  if (orientation <= 1 || orientation > 8) return pixels;
  const auto& turn = kTurns[orientation - 1];
  Pixels turned;
  turned.wasLossy = pixels.wasLossy;
  turned.pictures = pixels.pictures;
  turned.width = turn.isAcross ? pixels.height : pixels.width;
  turned.height = turn.isAcross ? pixels.width : pixels.height;
  turned.rows = std::make_unique_for_overwrite<Pixel[]>(turned.Count());
  Pixel* target = turned.rows.get();
  for (size_t y = 0; y < turned.height; ++y) {
    for (size_t x = 0; x < turned.width; ++x) {
      size_t column = turn.isAcross ? y : x;
      size_t row = turn.isAcross ? x : y;
      if (turn.isMirrored) column = pixels.width - 1 - column;
      if (turn.isUpsideDown) row = pixels.height - 1 - row;
      *target++ = pixels.rows[row * pixels.width + column];
    }
  }
  return turned;
}
