// Finds Exif in files of several kinds, and reads the little of it that books need.
#include "edition/book/picture_notes.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

#include "base/text_gate.h"
#include "base/utf8.h"
#include "edition/book/metadata.h"
#include "edition/book/picture.h"

namespace {

constexpr std::string_view kExifBegin{"Exif\0\0", 6};
constexpr unsigned kDescription = 0x010E;
constexpr unsigned kOrientation = 0x0112;
constexpr unsigned kTitleOfWindows = 0x9C9B;  // in UTF-16

// What cameras call every picture.
constexpr std::string_view kNoTitles[] = {"DIGITAL CAMERA", "SONY DSC", "DCIM", "default"};

std::uint32_t NumberAt(std::string_view bytes, size_t at, size_t count, bool isBigEndian) {
  std::uint32_t number = 0;
  for (size_t i = 0; i < count; ++i) {
    const size_t place = at + (isBigEndian ? i : count - 1 - i);
    number = number << 8 | (place < bytes.size() ? static_cast<unsigned char>(bytes[place]) : 0U);
  }
  return number;
}

std::string_view Part(std::string_view bytes, size_t at, size_t size) {
  return at <= bytes.size() ? bytes.substr(at, size) : std::string_view();
}

std::string FromUtf16(std::string_view text) {
  std::string characters;
  for (size_t at = 0; at + 1 < text.size(); at += 2) {
    std::uint32_t unit = NumberAt(text, at, 2, false);
    const std::uint32_t second = NumberAt(text, at + 2, 2, false);
    if (unit == 0) break;
    if (unit >> 10 == 0x36 && second >> 10 == 0x37) {
      unit = 0x10000 + ((unit & 0x3FF) << 10 | (second & 0x3FF));
      at += 2;
    }
    AppendUtf8(unit, characters);
  }
  return ToXmlCharacters(characters);
}

// Empty for what is no title, or in an encoding that nobody tells.
std::string TitleOf(std::string_view text) {
  text = text.substr(0, text.find('\0'));
  if (ValidUtf8Length(text) != text.size()) return {};
  const bool isOfCamera = std::any_of(
      std::begin(kNoTitles), std::end(kNoTitles),
      [&](std::string_view words) { return text.find(words) != std::string_view::npos; });
  return isOfCamera ? std::string() : OneLine(text);
}

// The first directory of Exif, which begins as TIFF files do.
void ReadExif(std::string_view file, size_t begin, size_t size, PictureNotes& notes) {
  constexpr size_t kEntrySize = 12;
  std::string_view exif = Part(file, begin, size);
  if (exif.starts_with(kExifBegin)) {
    exif.remove_prefix(kExifBegin.size());
    begin += kExifBegin.size();
  }
  const bool isBigEndian = exif.starts_with("MM");
  if (!isBigEndian && !exif.starts_with("II")) return;
  const auto number = [&](size_t at, size_t count) {
    return NumberAt(exif, at, count, isBigEndian);
  };
  const size_t directory = number(4, 4);
  const size_t count = number(directory, 2);
  for (size_t i = 0; i < count; ++i) {
    const size_t entry = directory + 2 + i * kEntrySize;
    if (entry + kEntrySize > exif.size()) break;
    const unsigned tag = number(entry, 2);
    const size_t length = number(entry + 4, 4);
    const size_t place = length > 4 ? number(entry + 8, 4) : entry + 8;
    if (tag == kOrientation) {
      const std::uint32_t orientation = number(entry + 8, 2);
      if (orientation < 1 || orientation > 8) continue;
      notes.orientation = static_cast<int>(orientation);
      notes.orientationByte = begin + entry + 8 + (isBigEndian ? 1 : 0);
    } else if (tag == kDescription && notes.title.empty()) {
      notes.title = TitleOf(Part(exif, place, length));
    } else if (tag == kTitleOfWindows) {
      notes.title = TitleOf(FromUtf16(Part(exif, place, length)));
    }
  }
}

void ReadJpeg(std::string_view file, PictureNotes& notes) {
  constexpr unsigned kApplication1 = 0xE1;
  constexpr unsigned kScan = 0xDA;
  for (size_t at = 2; at + 4 <= file.size() && file[at] == '\xFF';) {
    const unsigned marker = NumberAt(file, at + 1, 1, true);
    const size_t size = NumberAt(file, at + 2, 2, true);
    if (marker == kScan) break;
    if (marker == kApplication1 && Part(file, at + 4, kExifBegin.size()) == kExifBegin) {
      return ReadExif(file, at + 4, size - std::min<size_t>(size, 2), notes);
    }
    at += marker == 0xFF ? 1 : 2 + size;
  }
}

std::string_view BehindZero(std::string_view text) {
  const size_t zero = text.find('\0');
  return zero == std::string_view::npos ? std::string_view() : text.substr(zero + 1);
}

// Of a text in UTF-8, language and keyword come before it.
void ReadPngText(std::string_view part, bool isInternational, PictureNotes& notes) {
  constexpr std::string_view kTitle{"Title\0", 6};
  if (!part.starts_with(kTitle)) return;
  part.remove_prefix(kTitle.size());
  if (isInternational) {
    if (!part.starts_with('\0')) return;  // it is packed
    part = BehindZero(BehindZero(Part(part, 2, part.size())));
  }
  if (const std::string title = TitleOf(part); !title.empty()) notes.title = title;
}

// Calls visit(type, begin, size) for the parts of a file that come one after the other: for PNG
// with the size before the type and a sum behind, for WebP the other way round.
template <typename Visit>
void ForEachPart(std::string_view file, size_t begin, bool isPng, Visit visit) {
  constexpr size_t kHead = 8;
  while (begin + kHead <= file.size()) {
    const size_t size = NumberAt(file, begin + (isPng ? 0 : 4), 4, isPng);
    visit(file.substr(begin + (isPng ? 4 : 0), 4), begin + kHead, size);
    begin += kHead + size + (isPng ? 4 : size % 2);
  }
}

}  // namespace

PictureNotes ReadPictureNotes(std::string_view file) {
  constexpr size_t kPngHead = 8;
  constexpr size_t kWebpHead = 12;
  PictureNotes notes;
  const bool isPng = file.starts_with("\x89PNG");
  if (isPng || BeginsLike(file, "RIFF....WEBP")) {
    ForEachPart(file, isPng ? kPngHead : kWebpHead, isPng,
                [&](std::string_view type, size_t begin, size_t size) {
                  const bool isText = type == "tEXt" || type == "iTXt";
                  if (type == "EXIF") ReadExif(file, begin, size, notes);
                  if (isText) ReadPngText(Part(file, begin, size), type == "iTXt", notes);
                });
  } else if (file.starts_with("\xFF\xD8")) {
    ReadJpeg(file, notes);
  } else if (ConvertiblePicture(file) == "TIFF") {
    ReadExif(file, 0, file.size(), notes);
  }
  return notes;
}
