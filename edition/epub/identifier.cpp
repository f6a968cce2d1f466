// The identifier of a book.
#include "edition/epub/identifier.h"

#include <sha1.h>

#include <array>
#include <cstdint>

namespace {

// 5b0fe6a4-4f3b-4d0c-9d2e-7c1a52c09be1
constexpr std::array<std::uint8_t, 16> kNameSpace = {
    0x5b, 0x0f, 0xe6, 0xa4, 0x4f, 0x3b, 0x4d, 0x0c, 0x9d, 0x2e, 0x7c, 0x1a, 0x52, 0xc0, 0x9b, 0xe1};
constexpr size_t kVersionByte = 6;
constexpr size_t kVariantByte = 8;

bool BeginsGroup(size_t byte) {
  return byte == 4 || byte == 6 || byte == 8 || byte == 10;
}

}  // namespace

std::string IdentifierOf(std::string_view name) {
  SHA1_CTX hash;
  std::array<std::uint8_t, SHA1_DIGEST_LENGTH> digest{};
  SHA1Init(&hash);
  SHA1Update(&hash, kNameSpace.data(), kNameSpace.size());
  SHA1Update(&hash, reinterpret_cast<const std::uint8_t*>(name.data()), name.size());
  SHA1Final(digest.data(), &hash);
  digest[kVersionByte] = static_cast<std::uint8_t>((digest[kVersionByte] & 0x0FU) | 0x50U);
  digest[kVariantByte] = static_cast<std::uint8_t>((digest[kVariantByte] & 0x3FU) | 0x80U);

  constexpr char kDigits[] = "0123456789abcdef";
  std::string urn = "urn:uuid:";
  for (size_t byte = 0; byte < kNameSpace.size(); ++byte) {
    if (BeginsGroup(byte)) urn += '-';
    urn += kDigits[digest[byte] >> 4];
    urn += kDigits[digest[byte] & 0x0FU];
  }
  return urn;
}
