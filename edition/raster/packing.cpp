// Packs pixels as JPEG or PNG, whichever fits what they show.
#include <png.h>
#include <turbojpeg.h>

#include <algorithm>
#include <memory>
#include <unordered_map>
#include <vector>

#include "edition/raster/pixels.h"

namespace {

constexpr size_t kMostColours = 256;
constexpr size_t kMostJpegSide = 65'500;
constexpr int kQuality = 85;

bool IsOpaque(const Pixels& pixels) {
  return std::all_of(pixels.rows.get(), pixels.rows.get() + pixels.Count(),
                     [](const Pixel& pixel) { return pixel.alpha == 255; });
}

// In a photograph hardly a pixel is like its neighbour; in a drawing most are.
bool IsPhotograph(const Pixels& pixels) {
  size_t changes = 0;
  for (size_t i = 1; i < pixels.Count(); ++i) {
    if (!(pixels.rows[i] == pixels.rows[i - 1])) ++changes;
  }
  return changes > pixels.Count() / 2;
}

// The colours of a picture that has few; none when these are too many. In the order in which they
// come, each pixel by the number of its colour.
std::vector<Pixel> FewColours(const Pixels& pixels, std::vector<std::uint8_t>& numbers) {
  std::vector<Pixel> colours;
  std::unordered_map<std::uint32_t, std::uint8_t> known;
  numbers.resize(pixels.Count());
  std::uint8_t last = 0;
  for (size_t i = 0; i < pixels.Count(); ++i) {
    const Pixel& pixel = pixels.rows[i];
    if (colours.empty() || !(pixel == colours[last])) {
      const std::uint32_t key = std::uint32_t{pixel.red} << 24 | std::uint32_t{pixel.green} << 16 |
                                std::uint32_t{pixel.blue} << 8 | pixel.alpha;
      const auto [colour, isNew] = known.try_emplace(key, static_cast<std::uint8_t>(known.size()));
      if (known.size() > kMostColours) return {};
      if (isNew) colours.push_back(pixel);
      last = colour->second;
    }
    numbers[i] = last;
  }
  return colours;
}

std::string Png(const Pixels& pixels, png_uint_32 format, const void* content, const void* colours,
                size_t count) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  image.width = static_cast<png_uint_32>(pixels.width);
  image.height = static_cast<png_uint_32>(pixels.height);
  image.format = format;
  image.colormap_entries = static_cast<png_uint_32>(count);
  png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX(image);
  const auto room = std::make_unique_for_overwrite<char[]>(size);
  const bool isMade =
      png_image_write_to_memory(&image, room.get(), &size, 0, content, 0, colours) != 0;
  png_image_free(&image);
  return isMade ? std::string(room.get(), size) : std::string();
}

std::string OpaquePng(const Pixels& pixels) {
  std::vector<std::uint8_t> colours;
  colours.reserve(pixels.Count() * 3);
  for (size_t i = 0; i < pixels.Count(); ++i) {
    const Pixel& pixel = pixels.rows[i];
    colours.insert(colours.end(), {pixel.red, pixel.green, pixel.blue});
  }
  return Png(pixels, PNG_FORMAT_RGB, colours.data(), nullptr, 0);
}

std::string Jpeg(const Pixels& pixels) {
  const std::unique_ptr<void, decltype(&tjDestroy)> packer(tjInitCompress(), tjDestroy);
  if (packer == nullptr) return {};
  unsigned char* room = nullptr;
  unsigned long size = 0;
  const int code =
      tjCompress2(packer.get(), reinterpret_cast<const unsigned char*>(pixels.rows.get()),
                  static_cast<int>(pixels.width), 0, static_cast<int>(pixels.height), TJPF_RGBX,
                  &room, &size, TJSAMP_420, kQuality, TJFLAG_ACCURATEDCT);
  const std::unique_ptr<unsigned char, decltype(&tjFree)> owned(room, tjFree);
  return code == 0 ? std::string(reinterpret_cast<char*>(room), size) : std::string();
}

}  // namespace

std::string Packed(const Pixels& pixels) {
  const bool isOpaque = IsOpaque(pixels);
  const bool fitsJpeg = isOpaque && std::max(pixels.width, pixels.height) <= kMostJpegSide;
  if (fitsJpeg && pixels.wasLossy) return Jpeg(pixels);
  std::vector<std::uint8_t> numbers;
  const std::vector<Pixel> colours = FewColours(pixels, numbers);
  if (!colours.empty()) {
    return Png(pixels, PNG_FORMAT_RGBA_COLORMAP, numbers.data(), colours.data(), colours.size());
  }
  numbers = {};
  if (fitsJpeg && IsPhotograph(pixels)) return Jpeg(pixels);
  return isOpaque ? OpaquePng(pixels) : Png(pixels, PNG_FORMAT_RGBA, pixels.rows.get(), nullptr, 0);
}
