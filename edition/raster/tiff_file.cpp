// Reads TIFF; of several pictures, the first one.
#include <tiffio.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

#include "edition/raster/pixels.h"

namespace {

constexpr tmsize_t kMostAtOnce = tmsize_t{1} << 29;  // that libtiff may ask for

// A file in memory.
struct Source {
  std::string_view file;
  std::uint64_t place = 0;
};

tmsize_t ReadBytes(thandle_t handle, void* buffer, tmsize_t size) {
  auto& source = *static_cast<Source*>(handle);
  if (source.place >= source.file.size() || size < 0) return 0;
  const size_t count =
      std::min(static_cast<size_t>(size), source.file.size() - static_cast<size_t>(source.place));
  std::memcpy(buffer, source.file.data() + source.place, count);
  source.place += count;
  return static_cast<tmsize_t>(count);
}

tmsize_t WriteNothing(thandle_t, void*, tmsize_t) {
  return 0;
}

toff_t Seek(thandle_t handle, toff_t offset, int from) {
  auto& source = *static_cast<Source*>(handle);
  if (from == SEEK_CUR) offset += source.place;
  if (from == SEEK_END) offset += source.file.size();
  return source.place = offset;
}

int Close(thandle_t) {
  return 0;
}

toff_t SizeOf(thandle_t handle) {
  return static_cast<Source*>(handle)->file.size();
}

int Silence(TIFF*, void*, const char*, const char*, va_list) {
  return 1;  // nothing is printed
}

using Tiff = std::unique_ptr<TIFF, decltype(&TIFFClose)>;

Tiff Open(Source& source) {
  const std::unique_ptr<TIFFOpenOptions, decltype(&TIFFOpenOptionsFree)> options(
      TIFFOpenOptionsAlloc(), TIFFOpenOptionsFree);
  if (options == nullptr) return {nullptr, TIFFClose};
  TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), kMostAtOnce);
  TIFFOpenOptionsSetErrorHandlerExtR(options.get(), Silence, nullptr);
  TIFFOpenOptionsSetWarningHandlerExtR(options.get(), Silence, nullptr);
  return {TIFFClientOpenExt("picture", "rm", &source, ReadBytes, WriteNothing, Seek, Close, SizeOf,
                            nullptr, nullptr, options.get()),
          TIFFClose};
}

// Out of the colours with what is in them of alpha.
std::uint8_t Straight(std::uint32_t colour, std::uint32_t alpha) {
  constexpr std::uint32_t kFull = 255;
  return static_cast<std::uint8_t>(alpha == 0 ? 0 : std::min(kFull, colour * kFull / alpha));
}

Pixel PixelOf(std::uint32_t packed) {
  const std::uint32_t alpha = TIFFGetA(packed);
  return {Straight(TIFFGetR(packed), alpha), Straight(TIFFGetG(packed), alpha),
          Straight(TIFFGetB(packed), alpha), static_cast<std::uint8_t>(alpha)};
}

}  // namespace

kavepub_raster_code ReadTiff(std::string_view file, Pixels& pixels) {
  Source source{file};
  const Tiff tiff = Open(source);
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::uint16_t orientation = ORIENTATION_TOPLEFT;
  std::uint16_t compression = COMPRESSION_NONE;
  if (tiff == nullptr || TIFFGetField(tiff.get(), TIFFTAG_IMAGEWIDTH, &width) == 0 ||
      TIFFGetField(tiff.get(), TIFFTAG_IMAGELENGTH, &height) == 0) {
    return KAVEPUB_RASTER_DAMAGED;
  }
  TIFFGetFieldDefaulted(tiff.get(), TIFFTAG_ORIENTATION, &orientation);
  TIFFGetField(tiff.get(), TIFFTAG_COMPRESSION, &compression);
  const kavepub_raster_code code = pixels.Make(width, height);
  if (code != KAVEPUB_RASTER_OK) return code;
  std::vector<char> reason(1024);  // as libtiff wants it
  if (TIFFRGBAImageOK(tiff.get(), reason.data()) == 0) return KAVEPUB_RASTER_FOREIGN;
  auto* packed = reinterpret_cast<std::uint32_t*>(pixels.rows.get());
  // In the order of the file: all pictures are turned in one place.
  constexpr int kStopAtErrors = 1;
  if (TIFFReadRGBAImageOriented(tiff.get(), width, height, packed, orientation, kStopAtErrors) ==
      0) {
    return KAVEPUB_RASTER_DAMAGED;
  }
  std::transform(packed, packed + pixels.Count(), pixels.rows.get(), PixelOf);
  pixels.wasLossy = compression == COMPRESSION_JPEG || compression == COMPRESSION_OJPEG;
  pixels.pictures = TIFFNumberOfDirectories(tiff.get());
  return KAVEPUB_RASTER_OK;
}
