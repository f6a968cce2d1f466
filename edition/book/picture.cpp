// What a picture is, by its content.
#include "edition/book/picture.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace {

constexpr std::string_view kPngBegin = "\x89PNG\r\n\x1A\n";
constexpr std::string_view kJpegBegin = "\xFF\xD8\xFF";
constexpr std::string_view kGifBegins[] = {"GIF87a", "GIF89a"};
constexpr std::string_view kSvgElement = "<svg";
constexpr size_t kSvgSearched = 4096;  // declarations, comments and styles may come before

constexpr struct {
  std::string_view beginning;
  std::string_view name;
} kConvertible[] = {
    {"RIFF....WEBP", "WebP"},
    {{"BM....\0\0\0\0", 10}, "BMP"},
    {{"II*\0", 4}, "TIFF"},
    {{"MM\0*", 4}, "TIFF"},
};

constexpr size_t kPngSize = 16;  // where the width is, and behind it the height
constexpr size_t kGifSize = 6;

unsigned ByteAt(std::string_view bytes, size_t at) {
  return at < bytes.size() ? static_cast<unsigned char>(bytes[at]) : 0;
}

std::uint32_t BigEndian(std::string_view bytes, size_t at, size_t count) {
  std::uint32_t number = 0;
  for (size_t i = 0; i < count; ++i) number = number << 8 | ByteAt(bytes, at + i);
  return number;
}

// The frame header is one of the segments before the compressed data.
PictureFacts Jpeg(std::string_view bytes) {
  PictureFacts facts{"image/jpeg", ".jpg"};
  for (size_t at = 2; ByteAt(bytes, at) == 0xFF;) {
    const unsigned marker = ByteAt(bytes, at + 1);
    const bool isFrame =
        marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
    if (isFrame) {
      facts.height = BigEndian(bytes, at + 5, 2);
      facts.width = BigEndian(bytes, at + 7, 2);
      break;
    }
    const bool isFill = marker == 0xFF;
    at += isFill ? 1 : 2 + BigEndian(bytes, at + 2, 2);
  }
  return facts;
}

PictureFacts Png(std::string_view bytes) {
  return {"image/png", ".png", BigEndian(bytes, kPngSize, 4), BigEndian(bytes, kPngSize + 4, 4)};
}

PictureFacts Gif(std::string_view bytes) {
  const auto number = [&](size_t at) { return ByteAt(bytes, at) | ByteAt(bytes, at + 1) << 8; };
  return {"image/gif", ".gif", number(kGifSize), number(kGifSize + 2)};
}

bool IsSvg(std::string_view bytes) {
  return bytes.substr(0, kSvgSearched).find(kSvgElement) != std::string_view::npos &&
         bytes.substr(bytes.find_first_not_of(" \t\r\n\xEF\xBB\xBF")).starts_with('<');
}

}  // namespace

std::optional<PictureFacts> ExaminePicture(std::string_view bytes) {
  if (bytes.starts_with(kPngBegin)) return Png(bytes);
  if (bytes.starts_with(kJpegBegin)) return Jpeg(bytes);
  if (bytes.starts_with(kGifBegins[0]) || bytes.starts_with(kGifBegins[1])) return Gif(bytes);
  if (IsSvg(bytes)) return PictureFacts{"image/svg+xml", ".svg"};
  return std::nullopt;
}

std::string_view ConvertiblePicture(std::string_view bytes) {
  const auto* row = std::find_if(
      std::begin(kConvertible), std::end(kConvertible),
      [&](const auto& convertible) { return BeginsLike(bytes, convertible.beginning); });
  return row == std::end(kConvertible) ? std::string_view() : row->name;
}

bool BeginsLike(std::string_view bytes, std::string_view pattern) {
  return bytes.size() >= pattern.size() &&
         std::equal(pattern.begin(), pattern.end(), bytes.begin(),
                    [](char wanted, char c) { return wanted == '.' || wanted == c; });
}
