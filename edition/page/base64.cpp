// Six bits a digit.
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

std::string Base64Of(std::string_view bytes) {
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (size_t at = 0; at < bytes.size(); at += 3) {
    const std::string_view group = bytes.substr(at, 3);
    std::uint32_t bits = 0;
    for (size_t i = 0; i < 3; ++i) {
      bits = bits << 8 | (i < group.size() ? static_cast<unsigned char>(group[i]) : 0U);
    }
    for (size_t i = 0; i < 4; ++i) {
      text += i <= group.size() ? kBase64Digits[bits >> (18 - 6 * i) & 0x3F] : '=';
    }
  }
  return text;
}
