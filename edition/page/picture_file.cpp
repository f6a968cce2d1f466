// Pictures and fonts, by their content.
#include "edition/page/picture_file.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <string_view>

#include "edition/book/picture.h"
#include "edition/page/vector_graphics.h"

namespace {

constexpr std::string_view kSvgType = "image/svg+xml";

constexpr struct {
  std::string_view beginning;
  const char* mediaType;
} kFonts[] = {
    {"OTTO", "application/vnd.ms-opentype"},
    {{"\0\1\0\0", 4}, "application/vnd.ms-opentype"},
    {"true", "application/vnd.ms-opentype"},
    {"wOFF", "application/font-woff"},
};

}  // namespace

bool TakePicture(Resource& file) {
  const std::optional<PictureFacts> facts = ExaminePicture(file.bytes);
  if (!facts) return false;
  file.mediaType = facts->mediaType;
  if (file.mediaType == kSvgType) file.bytes = CleanDrawing(file.bytes);
  return !file.bytes.empty();
}

bool TakeFont(Resource& file) {
  const auto* font = std::find_if(std::begin(kFonts), std::end(kFonts), [&](const auto& known) {
    return file.bytes.starts_with(known.beginning);
  });
  if (font == std::end(kFonts)) return false;
  file.mediaType = font->mediaType;
  return true;
}
