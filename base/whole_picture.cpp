// Knows how JPEG, PNG and GIF pictures are put together.
#include "base/whole_picture.h"

#include <libdeflate.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>

namespace {

// The bytes of a file in order. What is read behind its end counts as zero, and is remembered.
class Bytes {
 public:
  explicit Bytes(std::string_view file) : rest(file) {}

  bool IsExhausted() const { return isExhausted; }

  // The bytes that follow, at most so many.
  std::string_view Next(std::uint64_t most) {
    isExhausted = isExhausted || most > rest.size();
    const std::string_view bytes = rest.substr(0, static_cast<size_t>(most));
    rest.remove_prefix(bytes.size());
    return bytes;
  }

  unsigned Get() {
    const std::string_view byte = Next(1);
    return byte.empty() ? 0 : static_cast<unsigned char>(byte[0]);
  }

  std::uint32_t GetNumber(int bytes) {
    std::uint32_t number = 0;
    while (bytes-- > 0) number = number << 8 | Get();
    return number;
  }

  void Skip(std::uint64_t count) { Next(count); }

  // Goes behind the next such byte.
  void SkipBehind(char byte) {
    const size_t place = rest.find(byte);
    Next(place == std::string_view::npos ? rest.size() + std::uint64_t{1} : place + 1);
  }

 private:
  std::string_view rest;
  bool isExhausted = false;
};

// Markers that stand alone, within the data of the picture.
bool IsWithinData(unsigned marker) {
  return marker == 0 || marker == 0x01 || (marker >= 0xD0 && marker <= 0xD7);
}

bool IsWholeJpeg(Bytes& bytes) {
  constexpr unsigned kStart = 0xD8;
  constexpr unsigned kEnd = 0xD9;
  constexpr unsigned kScan = 0xDA;
  bool hasScan = false;
  while (!bytes.IsExhausted()) {
    bytes.SkipBehind('\xFF');
    unsigned marker = bytes.Get();
    while (marker == 0xFF) marker = bytes.Get();
    if (marker == kEnd) return hasScan;
    if (marker == kStart || IsWithinData(marker)) continue;
    hasScan = hasScan || marker == kScan;
    const std::uint32_t size = bytes.GetNumber(2);
    if (size < 2) return false;
    bytes.Skip(size - 2);
  }
  return false;
}

bool IsWholePng(Bytes& bytes) {
  constexpr size_t kSignatureSize = 8;
  constexpr size_t kTypeSize = 4;
  constexpr unsigned char kSmallLetter = 0x20;  // of a part that is not needed to show the picture
  bytes.Skip(kSignatureSize);
  bool hasData = false;
  while (!bytes.IsExhausted()) {
    const std::uint64_t size = bytes.GetNumber(4);
    const std::string_view part = bytes.Next(kTypeSize + size);
    if (bytes.IsExhausted()) return false;
    const std::string_view type = part.substr(0, kTypeSize);
    const std::uint32_t sum = libdeflate_crc32(0, part.data(), part.size());
    const bool isNeeded = (static_cast<unsigned char>(type[0]) & kSmallLetter) == 0;
    if (bytes.GetNumber(4) != sum && isNeeded) return false;
    hasData = hasData || type == "IDAT";
    if (type == "IEND") return hasData && !bytes.IsExhausted();
  }
  return false;
}

void SkipColours(Bytes& bytes, unsigned flags) {
  constexpr unsigned kHasColours = 0x80;
  constexpr unsigned kCount = 0x07;
  if ((flags & kHasColours) != 0) bytes.Skip(std::uint64_t{3} << ((flags & kCount) + 1));
}

void SkipSubBlocks(Bytes& bytes) {
  while (const unsigned size = bytes.Get()) bytes.Skip(size);
}

bool IsWholeGif(Bytes& bytes) {
  constexpr unsigned kExtension = 0x21;
  constexpr unsigned kImage = 0x2C;
  constexpr unsigned kTrailer = 0x3B;
  bytes.Skip(10);  // signature and size
  SkipColours(bytes, bytes.GetNumber(3) >> 16);
  bool hasImage = false;
  while (!bytes.IsExhausted()) {
    const unsigned block = bytes.Get();
    // Some programs leave out the trailer, which nobody misses.
    if (block == kTrailer || bytes.IsExhausted()) return hasImage;
    if (block == kImage) {
      hasImage = true;
      bytes.Skip(8);  // place and size
      SkipColours(bytes, bytes.Get());
    } else if (block != kExtension) {
      return false;
    }
    bytes.Skip(1);  // the kind of an extension, or how the image is packed
    SkipSubBlocks(bytes);
  }
  return false;
}

constexpr struct {
  std::string_view beginning;
  bool (*isWhole)(Bytes& bytes);
} kChecks[] = {{"\xFF\xD8\xFF", IsWholeJpeg}, {"\x89PNG", IsWholePng}, {"GIF8", IsWholeGif}};

}  // namespace

bool IsWholePicture(std::string_view file) {
  Bytes bytes(file);
  const auto* check = std::find_if(std::begin(kChecks), std::end(kChecks), [&](const auto& row) {
    return file.starts_with(row.beginning);
  });
  return check != std::end(kChecks) && check->isWhole(bytes);
}
