// Pictures and fonts, by their content.
#include "edition/html/picture_file.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "edition/html/vector_graphics.h"

namespace {

constexpr size_t kSvgSearched = 4096;

struct Signature {
  std::string_view bytes;
  const char* mediaType;
};

constexpr Signature kPictures[] = {
    {"\x89PNG\r\n\x1A\n", "image/png"},
    {"\xFF\xD8\xFF", "image/jpeg"},
    {"GIF87a", "image/gif"},
    {"GIF89a", "image/gif"},
};

constexpr Signature kFonts[] = {
    {"OTTO", "application/vnd.ms-opentype"},
    {{"\0\1\0\0", 4}, "application/vnd.ms-opentype"},
    {"true", "application/vnd.ms-opentype"},
    {"wOFF", "application/font-woff"},
};

template <size_t count>
bool Recognise(const Signature (&table)[count], Resource& file) {
  const auto* row = std::find_if(std::begin(table), std::end(table), [&](const Signature& known) {
    return file.bytes.starts_with(known.bytes);
  });
  if (row == std::end(table)) return false;
  file.mediaType = row->mediaType;
  return true;
}

}  // namespace

bool TakePicture(Resource& file) {
  if (Recognise(kPictures, file)) return true;
  if (std::string_view(file.bytes).substr(0, kSvgSearched).find("<svg") == std::string_view::npos) {
    return false;
  }
  file.bytes = CleanDrawing(file.bytes);
  file.mediaType = "image/svg+xml";
  return !file.bytes.empty();
}

bool TakeFont(Resource& file) {
  return Recognise(kFonts, file);
}
