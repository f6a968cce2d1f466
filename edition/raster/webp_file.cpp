// Reads WebP; of an animation, its first picture.
#include <webp/decode.h>
#include <webp/demux.h>

#include <cstring>
#include <memory>

#include "edition/raster/pixels.h"

namespace {

constexpr int kLossy = 1;  // as libwebp numbers the formats

const std::uint8_t* BytesOf(std::string_view file) {
  return reinterpret_cast<const std::uint8_t*>(file.data());
}

kavepub_raster_code ReadFirst(std::string_view file, Pixels& pixels) {
  const WebPData data = {BytesOf(file), file.size()};
  WebPAnimDecoderOptions options;
  if (WebPAnimDecoderOptionsInit(&options) == 0) return KAVEPUB_RASTER_FOREIGN;
  const std::unique_ptr<WebPAnimDecoder, decltype(&WebPAnimDecoderDelete)> decoder(
      WebPAnimDecoderNew(&data, &options), WebPAnimDecoderDelete);
  WebPAnimInfo info;
  std::uint8_t* picture = nullptr;
  int time = 0;
  if (decoder == nullptr || WebPAnimDecoderGetInfo(decoder.get(), &info) == 0 ||
      info.canvas_width != pixels.width || info.canvas_height != pixels.height ||
      WebPAnimDecoderGetNext(decoder.get(), &picture, &time) == 0) {
    return KAVEPUB_RASTER_DAMAGED;
  }
  pixels.pictures = info.frame_count;
  std::memcpy(pixels.rows.get(), picture, pixels.Count() * sizeof(Pixel));
  return KAVEPUB_RASTER_OK;
}

}  // namespace

kavepub_raster_code ReadWebp(std::string_view file, Pixels& pixels) {
  WebPBitstreamFeatures facts;
  if (WebPGetFeatures(BytesOf(file), file.size(), &facts) != VP8_STATUS_OK) {
    return KAVEPUB_RASTER_DAMAGED;
  }
  const kavepub_raster_code code = pixels.Make(static_cast<std::uint64_t>(facts.width),
                                               static_cast<std::uint64_t>(facts.height));
  if (code != KAVEPUB_RASTER_OK) return code;
  if (facts.has_animation != 0) return ReadFirst(file, pixels);
  pixels.wasLossy = facts.format == kLossy;
  const size_t size = pixels.Count() * sizeof(Pixel);
  auto* bytes = reinterpret_cast<std::uint8_t*>(pixels.rows.get());
  const bool isRead = WebPDecodeRGBAInto(BytesOf(file), file.size(), bytes, size,
                                         static_cast<int>(pixels.width * sizeof(Pixel))) != nullptr;
  return isRead ? KAVEPUB_RASTER_OK : KAVEPUB_RASTER_DAMAGED;
}
