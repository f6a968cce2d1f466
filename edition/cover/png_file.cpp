// Pictures of sixteen colours as PNG files.
#include "edition/cover/png_file.h"

#include <libdeflate.h>

#include <memory>
#include <new>
#include <string_view>
#include <vector>

namespace {

constexpr std::string_view kSignature = "\x89PNG\r\n\x1A\n";
constexpr char kDepth = 4;
constexpr char kIndexed = 3;
constexpr char kNoFilter = 0;
constexpr int kDeflateLevel = 3;

void PutNumber(std::string& file, std::uint32_t number) {
  for (int shift = 24; shift >= 0; shift -= 8) file += static_cast<char>(number >> shift & 0xFFU);
}

void PutChunk(std::string& file, std::string_view type, std::string_view content) {
  PutNumber(file, static_cast<std::uint32_t>(content.size()));
  const size_t begin = file.size();
  file.append(type).append(content);
  PutNumber(file, libdeflate_crc32(0, file.data() + begin, file.size() - begin));
}

// Two pixels a byte; the width is even.
std::string Rows(const std::uint8_t* pixels, size_t width, size_t height, size_t rowSize) {
  std::string rows((1 + width / 2) * height, kNoFilter);
  char* target = rows.data();
  for (size_t y = 0; y < height; ++y) {
    const std::uint8_t* row = pixels + y * rowSize;
    ++target;  // the filter
    for (size_t x = 0; x < width; x += 2) {
      *target++ = static_cast<char>((row[x] & 0xF0U) | row[x + 1] >> 4);
    }
  }
  return rows;
}

std::string Deflated(const std::string& content) {
  const std::unique_ptr<libdeflate_compressor, decltype(&libdeflate_free_compressor)> compressor(
      libdeflate_alloc_compressor(kDeflateLevel), libdeflate_free_compressor);
  if (compressor == nullptr) throw std::bad_alloc();
  std::string packed(libdeflate_zlib_compress_bound(compressor.get(), content.size()), '\0');
  packed.resize(libdeflate_zlib_compress(compressor.get(), content.data(), content.size(),
                                         packed.data(), packed.size()));
  return packed;
}

}  // namespace

std::string PngFile(const std::uint8_t* pixels, size_t width, size_t height, size_t rowSize,
                    const Palette& palette) {
  std::string header;
  PutNumber(header, static_cast<std::uint32_t>(width));
  PutNumber(header, static_cast<std::uint32_t>(height));
  header.append({kDepth, kIndexed, 0, 0, 0});
  std::string colours;
  for (const Colour& colour : palette) {
    for (const std::uint8_t part : {colour.red, colour.green, colour.blue}) {
      colours += static_cast<char>(part);
    }
  }
  std::string file(kSignature);
  PutChunk(file, "IHDR", header);
  PutChunk(file, "PLTE", colours);
  PutChunk(file, "IDAT", Deflated(Rows(pixels, width, height, rowSize)));
  PutChunk(file, "IEND", {});
  return file;
}
