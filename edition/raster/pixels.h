// A picture in memory.
#ifndef KAVEPUB_RASTER_PIXELS_H
#define KAVEPUB_RASTER_PIXELS_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "edition/raster/raster.h"

// Red, green, blue and alpha, a byte each, in this order; alpha is not in the colours.
struct Pixel {
  std::uint8_t red;
  std::uint8_t green;
  std::uint8_t blue;
  std::uint8_t alpha;

  bool operator==(const Pixel& other) const = default;
};

struct Pixels {
  size_t width = 0;
  size_t height = 0;
  std::unique_ptr<Pixel[]> rows;  // from above
  bool wasLossy = false;          // packed like a photograph
  size_t pictures = 1;            // in the file

  // Makes room that is not filled yet; a code.
  kavepub_raster_code Make(std::uint64_t wantedWidth, std::uint64_t wantedHeight);

  size_t Count() const { return width * height; }
};

// Turned and mirrored as Exif says, from 1 to 8.
Pixels Turned(Pixels pixels, int orientation);

// Each reads a file of its kind.
kavepub_raster_code ReadWebp(std::string_view file, Pixels& pixels);
kavepub_raster_code ReadBmp(std::string_view file, Pixels& pixels);
kavepub_raster_code ReadTiff(std::string_view file, Pixels& pixels);

// A JPEG file of what is a photograph, else a PNG file; empty when it cannot be made.
std::string Packed(const Pixels& pixels);

// Turns a JPEG file without unpacking its pixels.
kavepub_raster_code TurnJpeg(std::string_view file, int orientation, std::string& turned);

#endif
