// Pictures of sixteen colours as PNG files.
#ifndef KAVEPUB_COVER_PNG_FILE_H
#define KAVEPUB_COVER_PNG_FILE_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

struct Colour {
  std::uint8_t red;
  std::uint8_t green;
  std::uint8_t blue;
};

using Palette = std::array<Colour, 16>;

// A row of the picture has a byte for each of its pixels, of which there is an even number: from 0
// to 255, the place of its colour between the first one of the palette and the last.
std::string PngFile(const std::uint8_t* pixels, size_t width, size_t height, size_t rowSize,
                    const Palette& palette);

#endif
