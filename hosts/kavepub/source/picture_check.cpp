// Knows how JPEG, PNG and GIF pictures are put together.
#include "hosts/kavepub/source/picture_check.h"

#include <libdeflate.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "base/read_file.h"

namespace {

constexpr size_t kBufferSize = size_t{1} << 18;

// The bytes of a file in order. What is read behind its end counts as zero, and is remembered.
class Bytes {
 public:
  explicit Bytes(const std::filesystem::path& path) : file(OpenRegularFile(path.c_str())) {}

  bool IsExhausted() const { return isExhausted; }

  // The bytes that follow, at least one and at most so many; none at the end.
  std::string_view Next(std::uint64_t most) {
    if (begin == end) Fill();
    const size_t size = std::min<std::uint64_t>(most, end - begin);
    const std::string_view bytes(buffer.data() + begin, size);
    begin += size;
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

  void Skip(std::uint64_t count) {
    while (count > 0 && !isExhausted) count -= Next(count).size();
  }

  // Goes behind the next such byte.
  void SkipBehind(char byte) {
    while (!isExhausted) {
      const std::string_view rest = Next(kBufferSize);
      const size_t place = rest.find(byte);
      if (place == std::string_view::npos) continue;
      begin -= rest.size() - place - 1;
      return;
    }
  }

 private:
  void Fill() {
    const ssize_t count = file ? read(file.Get(), buffer.data(), buffer.size()) : 0;
    begin = 0;
    end = count > 0 ? static_cast<size_t>(count) : 0;
    isExhausted = end == 0;
  }

  UniqueFd file;
  std::vector<char> buffer = std::vector<char>(kBufferSize);
  size_t begin = 0;
  size_t end = 0;
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
  constexpr unsigned char kSmallLetter = 0x20;  // of a part that is not needed to show the picture
  bytes.Skip(kSignatureSize);
  bool hasData = false;
  while (!bytes.IsExhausted()) {
    std::uint64_t left = bytes.GetNumber(4);
    std::string type;
    for (int i = 0; i < 4; ++i) type += static_cast<char>(bytes.Get());
    std::uint32_t sum = libdeflate_crc32(0, type.data(), type.size());
    while (left > 0 && !bytes.IsExhausted()) {
      const std::string_view data = bytes.Next(left);
      sum = libdeflate_crc32(sum, data.data(), data.size());
      left -= data.size();
    }
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
  std::string_view type;
  bool (*isWhole)(Bytes& bytes);
} kChecks[] = {{".jpg", IsWholeJpeg}, {".png", IsWholePng}, {".gif", IsWholeGif}};

}  // namespace

bool IsWholePicture(const std::filesystem::path& picture, std::string_view type) {
  Bytes bytes(picture);
  const auto* check = std::find_if(std::begin(kChecks), std::end(kChecks),
                                   [&](const auto& row) { return row.type == type; });
  return check != std::end(kChecks) && check->isWhole(bytes);
}
