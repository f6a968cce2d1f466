// Turns JPEG files by their packed blocks, so that nothing is packed anew.
#include <turbojpeg.h>

#include <memory>

#include "edition/raster/pixels.h"

namespace {

// By what Exif calls orientation.
constexpr int kTransforms[] = {TJXOP_NONE,   TJXOP_NONE,       TJXOP_HFLIP,
                               TJXOP_ROT180, TJXOP_VFLIP,      TJXOP_TRANSPOSE,
                               TJXOP_ROT90,  TJXOP_TRANSVERSE, TJXOP_ROT270};
constexpr int kLeastShare = 100;  // of a side that is lost at most, one by this

// Whether blocks that are not whole, which cannot be turned, are hardly missed.
bool IsHardlyMissed(int side, int block) {
  return side % block <= side / kLeastShare;
}

}  // namespace

kavepub_raster_code TurnJpeg(std::string_view file, int orientation, std::string& turned) {
  const std::unique_ptr<void, decltype(&tjDestroy)> turner(tjInitTransform(), tjDestroy);
  if (turner == nullptr) return KAVEPUB_RASTER_MEMORY;
  const auto* bytes = reinterpret_cast<const unsigned char*>(file.data());
  int width = 0;
  int height = 0;
  int sampling = 0;
  int colours = 0;
  if (tjDecompressHeader3(turner.get(), bytes, file.size(), &width, &height, &sampling, &colours) !=
      0) {
    return KAVEPUB_RASTER_DAMAGED;
  }
  if (width > KAVEPUB_RASTER_MOST_PIXELS / height) return KAVEPUB_RASTER_LARGE;
  if (sampling < 0 || !IsHardlyMissed(width, tjMCUWidth[sampling]) ||
      !IsHardlyMissed(height, tjMCUHeight[sampling])) {
    return KAVEPUB_RASTER_UNFIT;
  }
  tjtransform transform{};
  transform.op = kTransforms[orientation];
  transform.options = TJXOPT_TRIM;
  unsigned char* room = nullptr;
  unsigned long size = 0;
  const int code = tjTransform(turner.get(), bytes, file.size(), 1, &room, &size, &transform,
                               TJFLAG_STOPONWARNING | TJFLAG_LIMITSCANS);
  const std::unique_ptr<unsigned char, decltype(&tjFree)> owned(room, tjFree);
  if (code != 0) return KAVEPUB_RASTER_DAMAGED;
  turned.assign(reinterpret_cast<char*>(room), size);
  return KAVEPUB_RASTER_OK;
}
