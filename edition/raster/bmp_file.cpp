// Reads BMP as programs write it today: with colours as they are, in a palette or by masks.
#include <bit>
#include <vector>

#include "edition/raster/pixels.h"

namespace {

constexpr size_t kFileHeader = 14;
constexpr std::uint32_t kOldHeader = 12;  // with sizes of two bytes
constexpr std::uint32_t kInfoHeader = 40;
constexpr std::uint32_t kHeaderWithAlpha = 56;
constexpr std::uint32_t kPlain = 0;
constexpr std::uint32_t kByMasks = 3;

// Numbers of a file at their places; zero behind its end.
class Bytes {
 public:
  explicit Bytes(std::string_view bytes) : file(bytes) {}

  std::uint32_t At(size_t place, size_t count) const {
    std::uint32_t number = 0;
    while (count-- > 0) {
      const size_t at = place + count;
      number = number << 8 | (at < file.size() ? static_cast<std::uint8_t>(file[at]) : 0U);
    }
    return number;
  }

  size_t Size() const { return file.size(); }

 private:
  std::string_view file;
};

struct Layout {
  std::uint32_t header;
  std::uint64_t width;
  std::uint64_t height;
  bool isFromAbove;
  std::uint32_t depth;
  std::uint32_t packing;
  std::uint32_t masks[4];  // of red, green, blue, alpha
  std::vector<Pixel> palette;
  std::uint64_t rowSize;
};

void ReadMasks(const Bytes& bytes, Layout& layout) {
  constexpr std::uint32_t kUsual[2][4] = {{0x7C00, 0x03E0, 0x001F, 0},
                                          {0xFF0000, 0x00FF00, 0x0000FF, 0}};
  const bool hasAlpha = layout.header >= kHeaderWithAlpha;
  for (size_t i = 0; i < 4; ++i) {
    layout.masks[i] = kUsual[layout.depth == 16 ? 0 : 1][i];
    if (layout.packing != kByMasks) continue;
    const bool isThere = i < 3 || hasAlpha;
    layout.masks[i] = isThere ? bytes.At(kFileHeader + kInfoHeader + i * 4, 4) : 0;
  }
}

void ReadPalette(const Bytes& bytes, Layout& layout) {
  const size_t entry = layout.header == kOldHeader ? 3 : 4;
  const size_t begin = kFileHeader + layout.header;
  for (size_t i = 0; i < size_t{1} << layout.depth; ++i) {
    const auto part = [&](size_t byte) {
      return static_cast<std::uint8_t>(bytes.At(begin + i * entry + byte, 1));
    };
    layout.palette.push_back({part(2), part(1), part(0), 255});
  }
}

kavepub_raster_code ReadLayout(const Bytes& bytes, Layout& layout) {
  layout.header = bytes.At(kFileHeader, 4);
  if (layout.header == kOldHeader) {
    layout.width = bytes.At(18, 2);
    layout.height = bytes.At(20, 2);
    layout.depth = bytes.At(24, 2);
  } else if (layout.header >= kInfoHeader && layout.header < bytes.Size()) {
    const auto height = static_cast<std::int32_t>(bytes.At(22, 4));
    layout.width = bytes.At(18, 4);
    layout.isFromAbove = height < 0;
    layout.height = static_cast<std::uint64_t>(height < 0 ? -std::int64_t{height} : height);
    layout.depth = bytes.At(28, 2);
    layout.packing = bytes.At(30, 4);
  } else {
    return KAVEPUB_RASTER_DAMAGED;
  }
  const std::uint32_t depth = layout.depth;
  const bool hasPalette = depth == 1 || depth == 4 || depth == 8;
  const bool hasMasks = depth == 16 || depth == 32;
  const bool isKnown = (layout.packing == kPlain && (hasPalette || hasMasks || depth == 24)) ||
                       (layout.packing == kByMasks && hasMasks);
  if (!isKnown) return KAVEPUB_RASTER_FOREIGN;
  if (hasPalette) ReadPalette(bytes, layout);
  ReadMasks(bytes, layout);
  layout.rowSize = (layout.width * depth + 31) / 32 * 4;
  return KAVEPUB_RASTER_OK;
}

// The part of a number that a mask shows, from 0 to 255.
std::uint8_t Masked(std::uint32_t number, std::uint32_t mask) {
  if (mask == 0) return 0;
  const int shift = std::countr_zero(mask);
  const std::uint64_t most = mask >> shift;
  return static_cast<std::uint8_t>(((number & mask) >> shift) * std::uint64_t{255} / most);
}

Pixel PixelAt(const Bytes& bytes, size_t row, size_t x, const Layout& layout) {
  const std::uint32_t depth = layout.depth;
  if (!layout.palette.empty()) {
    const size_t bit = x * depth;
    const std::uint32_t byte = bytes.At(row + bit / 8, 1);
    return layout.palette[byte >> (8 - depth - bit % 8) & ((1U << depth) - 1)];
  }
  const std::uint32_t number = bytes.At(row + x * (depth / 8), depth / 8);
  const std::uint8_t alpha = layout.masks[3] == 0 ? 255 : Masked(number, layout.masks[3]);
  return {Masked(number, layout.masks[0]), Masked(number, layout.masks[1]),
          Masked(number, layout.masks[2]), alpha};
}

}  // namespace

kavepub_raster_code ReadBmp(std::string_view file, Pixels& pixels) {
  const Bytes bytes(file);
  Layout layout{};
  kavepub_raster_code code = ReadLayout(bytes, layout);
  if (code == KAVEPUB_RASTER_OK) code = pixels.Make(layout.width, layout.height);
  if (code != KAVEPUB_RASTER_OK) return code;
  const size_t begin = bytes.At(10, 4);
  if (begin > file.size() || (file.size() - begin) / layout.rowSize < layout.height) {
    return KAVEPUB_RASTER_DAMAGED;
  }
  for (size_t y = 0; y < pixels.height; ++y) {
    const size_t stored = layout.isFromAbove ? y : pixels.height - 1 - y;
    for (size_t x = 0; x < pixels.width; ++x) {
      pixels.rows[y * pixels.width + x] =
          PixelAt(bytes, begin + stored * layout.rowSize, x, layout);
    }
  }
  return KAVEPUB_RASTER_OK;
}
