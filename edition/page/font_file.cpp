// Looks at the tables of a font.
#include "edition/page/font_file.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "edition/page/words.h"

namespace {

// Outlines are in tables, of which each has an entry at the beginning of the file.
struct FontFormat {
  std::string_view beginning;
  const char* mediaType;
  size_t countAt;    // of tables
  size_t entriesAt;  // of which each begins with the name of its table
  size_t entrySize;
  size_t placeAt;  // in an entry
  size_t sizeAt;   // likewise
};
constexpr char kOpenType[] = "application/vnd.ms-opentype";
constexpr FontFormat kFontFormats[] = {
    {"OTTO", kOpenType, 4, 12, 16, 8, 12},
    {{"\0\1\0\0", 4}, kOpenType, 4, 12, 16, 8, 12},
    {"true", kOpenType, 4, 12, 16, 8, 12},
    {"wOFF", "application/font-woff", 12, 44, 20, 4, 8},
};

// Without these, no program shows a letter.
constexpr std::string_view kNeededTables[] = {"cmap", "head", "hhea", "hmtx", "maxp"};
constexpr std::string_view kOutlineTables[] = {"CFF ", "CFF2", "glyf", "CBDT", "sbix", "EBDT"};

size_t NumberAt(std::string_view bytes, size_t at, size_t size) {
  size_t number = 0;
  for (size_t i = at; i < at + size; ++i) {
    number = number << 8 | (i < bytes.size() ? static_cast<unsigned char>(bytes[i]) : 0U);
  }
  return number;
}

// Whether all tables lie in the file, and those that are needed are among them.
bool IsWhole(std::string_view file, const FontFormat& format) {
  const size_t count = NumberAt(file, format.countAt, 2);
  if (format.entriesAt + count * format.entrySize > file.size()) return false;
  size_t needed = 0;
  bool hasOutlines = false;
  for (size_t i = 0; i < count; ++i) {
    const std::string_view entry =
        file.substr(format.entriesAt + i * format.entrySize, format.entrySize);
    const size_t place = NumberAt(entry, format.placeAt, 4);
    if (place > file.size() || NumberAt(entry, format.sizeAt, 4) > file.size() - place)
      return false;
    if (IsOneOf(kNeededTables, entry.substr(0, 4))) ++needed;
    hasOutlines = hasOutlines || IsOneOf(kOutlineTables, entry.substr(0, 4));
  }
  return needed == std::size(kNeededTables) && hasOutlines;
}

}  // namespace

bool TakeFont(Resource& file) {
  const auto* format = std::find_if(
      std::begin(kFontFormats), std::end(kFontFormats),
      [&](const FontFormat& known) { return file.bytes.starts_with(known.beginning); });
  if (format == std::end(kFontFormats) || !IsWhole(file.bytes, *format)) return false;
  file.mediaType = format->mediaType;
  return true;
}
