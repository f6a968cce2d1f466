// Decoding of data URIs.
#include "edition/page/base64.h"

#include <algorithm>
#include <cstdint>

#include "edition/page/reference.h"

namespace {

constexpr std::string_view kBase64Digits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::string Decoded(std::string_view text) {
  std::string bytes;
  std::uint32_t bits = 0;
  int count = 0;
  for (const char c : text) {
    const size_t digit = kBase64Digits.find(c);
    if (digit == std::string_view::npos) continue;
    bits = bits << 6 | static_cast<std::uint32_t>(digit);
    count += 6;
    if (count < 8) continue;
    count -= 8;
    bytes += static_cast<char>(bits >> count & 0xFF);
  }
  return bytes;
}

}  // namespace

std::string BytesOfData(std::string_view uri) {
  const size_t comma = uri.find(',');
  if (comma == std::string_view::npos) return {};
  const std::string content = Unescaped(uri.substr(comma + 1));
  return uri.substr(0, comma).ends_with(";base64") ? Decoded(content) : content;
}
