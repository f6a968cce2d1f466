// The C interface: finds what reads a file; here exceptions end.
#include "edition/raster/raster.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <utility>

#include "edition/raster/pixels.h"

namespace {

constexpr struct {
  std::string_view beginning;  // "." stands for any byte
  kavepub_raster_code (*read)(std::string_view file, Pixels& pixels);
} kKinds[] = {
    {"RIFF....WEBP", ReadWebp},
    {{"BM....\0\0\0\0", 10}, ReadBmp},
    {{"II*\0", 4}, ReadTiff},
    {{"MM\0*", 4}, ReadTiff},
};
constexpr std::string_view kJpegBegin = "\xFF\xD8\xFF";

bool Fits(std::string_view pattern, std::string_view file) {
  return file.size() >= pattern.size() &&
         std::equal(pattern.begin(), pattern.end(), file.begin(),
                    [](char wanted, char c) { return wanted == '.' || wanted == c; });
}

kavepub_raster_code Convert(std::string_view file, int orientation, size_t& pictures,
                            std::string& made) {
  if (file.starts_with(kJpegBegin)) return TurnJpeg(file, orientation, made);
  const auto* kind = std::find_if(std::begin(kKinds), std::end(kKinds),
                                  [&](const auto& known) { return Fits(known.beginning, file); });
  if (kind == std::end(kKinds)) return KAVEPUB_RASTER_FOREIGN;
  Pixels pixels;
  const kavepub_raster_code code = kind->read(file, pixels);
  if (code != KAVEPUB_RASTER_OK) return code;
  pixels = Turned(std::move(pixels), orientation);
  pictures = pixels.pictures;
  made = Packed(pixels);
  return made.empty() ? KAVEPUB_RASTER_FOREIGN : KAVEPUB_RASTER_OK;  // longer than PNG can be
}

}  // namespace

int kavepub_raster_v0(const void* bytes, size_t size, int orientation, size_t* pictures,
                      kavepub_raster_callback take, void* user) {
  try {
    std::string made;
    *pictures = 1;
    const std::string_view file(static_cast<const char*>(bytes), size);
    const kavepub_raster_code code = Convert(file, std::clamp(orientation, 1, 8), *pictures, made);
    if (code == KAVEPUB_RASTER_OK) take(user, made.data(), made.size());
    return code;
  } catch (const std::bad_alloc&) {
    return KAVEPUB_RASTER_MEMORY;
  } catch (...) {
    return KAVEPUB_RASTER_DAMAGED;
  }
}
