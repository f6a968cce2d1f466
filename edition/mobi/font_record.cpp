// A header of numbers, then a key, then a file whose beginning the key hides and that is packed.
#include "edition/mobi/font_record.h"

#include <libdeflate.h>

#include <algorithm>
#include <memory>

#include "base/mobi/bytes.h"

namespace {

constexpr std::string_view kMagic = "FONT";

// Where these numbers stand.
constexpr size_t kSizeAt = 4;  // of the file, unpacked
constexpr size_t kFlagsAt = 8;
constexpr size_t kFileAt = 12;
constexpr size_t kKeySizeAt = 16;
constexpr size_t kKeyAt = 20;

constexpr size_t kIsPacked = 1;
constexpr size_t kIsScrambled = 2;
constexpr size_t kScrambledBytes = 1040;

// Fonts shrink to a half or a third.
constexpr size_t kMostUnpacked = 32;
constexpr size_t kSmallFont = 1 << 16;

std::string Unpacked(const std::string& packed, size_t size) {
  if (size > std::max(kSmallFont, packed.size() * kMostUnpacked)) return {};
  const std::unique_ptr<libdeflate_decompressor, decltype(&libdeflate_free_decompressor)> unpacker(
      libdeflate_alloc_decompressor(), &libdeflate_free_decompressor);
  if (!unpacker) throw std::bad_alloc();
  std::string file(size, '\0');
  const libdeflate_result result = libdeflate_zlib_decompress(
      unpacker.get(), packed.data(), packed.size(), file.data(), file.size(), nullptr);
  return result == LIBDEFLATE_SUCCESS ? file : std::string();
}

}  // namespace

bool IsFontRecord(std::string_view record) {
  return record.size() > 1 && record.substr(1).starts_with(kMagic.substr(1));
}

std::string FontOf(std::string_view record) {
  const size_t flags = kav_mobi::BigEndian32(record, kFlagsAt);
  const size_t fileAt = kav_mobi::BigEndian32(record, kFileAt);
  const size_t keyAt = kav_mobi::BigEndian32(record, kKeyAt);
  if (fileAt >= record.size() || keyAt >= record.size()) return {};
  const std::string_view key = record.substr(keyAt, kav_mobi::BigEndian32(record, kKeySizeAt));
  std::string file(record.substr(fileAt));
  if ((flags & kIsScrambled) != 0 && !key.empty()) {
    for (size_t i = 0; i < std::min(kScrambledBytes, file.size()); ++i) {
      file[i] = static_cast<char>(file[i] ^ key[i % key.size()]);
    }
  }
  if ((flags & kIsPacked) == 0) return file;
  return Unpacked(file, kav_mobi::BigEndian32(record, kSizeAt));
}
