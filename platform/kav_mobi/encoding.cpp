// Decoding of text: UTF-8 is checked, other code pages go through iconv.
#include "encoding.h"

#include <mobi.h>

#include <algorithm>
#include <array>
#include <cerrno>

namespace kav_mobi {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

// The code pages whose markup is recognised by its ASCII bytes: Windows' own, East Asian ones
// included.
constexpr std::array<uint32_t, 14> kCodePages = {874,  932,  936,  949,  950,  1250, 1251,
                                                 1252, 1253, 1254, 1255, 1256, 1257, 1258};

bool isControl(unsigned char byte) {
  return (byte < 0x20 && byte != '\t' && byte != '\n' && byte != '\r') || byte == 0x7F;
}

// The number of bytes that a UTF-8 lead byte announces; 0 for a byte that leads nothing.
size_t announcedLength(unsigned char lead) {
  if (lead < 0x80) return 1;
  if (lead < 0xC2) return 0;
  if (lead < 0xE0) return 2;
  if (lead < 0xF0) return 3;
  return lead < 0xF5 ? 4 : 0;
}

// Overlong forms, surrogates, what lies beyond Unicode, and U+FFFE and U+FFFF.
bool isForbidden(std::string_view character) {
  const auto first = static_cast<unsigned char>(character[0]);
  const auto second = static_cast<unsigned char>(character[1]);
  switch (first) {
    case 0xE0:
      return second < 0xA0;
    case 0xED:
      return second > 0x9F;
    case 0xEF:
      return second == 0xBF && static_cast<unsigned char>(character[2]) > 0xBD;
    case 0xF0:
      return second < 0x90;
    case 0xF4:
      return second > 0x8F;
    default:
      return false;
  }
}

void appendUtf8(std::string_view raw, std::string& text) {
  size_t copied = 0;
  size_t at = 0;
  while (at < raw.size()) {
    const auto byte = static_cast<unsigned char>(raw[at]);
    if (byte < 0x80 && !isControl(byte)) {
      ++at;
      continue;
    }
    const size_t length = byte < 0x80 ? 0 : utf8CharacterLength(raw.substr(at, 4));
    if (length != 0) {
      at += length;
      continue;
    }
    text.append(raw.substr(copied, at - copied));
    if (byte >= 0x80) text.append(kReplacement);
    copied = ++at;
  }
  text.append(raw.substr(copied));
}

// None where the system lacks the conversion: the text is then read as UTF-8, as far as it goes.
std::optional<iconv_t> openConverter(uint32_t codePage) {
  iconv_t converter = iconv_open("UTF-8", ("CP" + std::to_string(codePage)).c_str());
  if (reinterpret_cast<intptr_t>(converter) == -1) return std::nullopt;
  return converter;
}

}  // namespace

size_t utf8CharacterLength(std::string_view text) {
  if (text.empty()) return 0;
  const size_t length = announcedLength(static_cast<unsigned char>(text[0]));
  if (length < 2 || length > text.size()) return length > text.size() ? 0 : length;
  for (size_t i = 1; i < length; ++i) {
    if ((static_cast<unsigned char>(text[i]) & 0xC0U) != 0x80) return 0;
  }
  return isForbidden(text.substr(0, length)) ? 0 : length;
}

bool isUtf8(std::string_view text) {
  size_t at = 0;
  while (at < text.size()) {
    const size_t length = utf8CharacterLength(text.substr(at, 4));
    if (length == 0) return false;
    at += length;
  }
  return true;
}

TextDecoder::TextDecoder(uint32_t codePage) {
  if (codePage != MOBI_UTF8) converter_ = openConverter(codePage);
}

TextDecoder::~TextDecoder() {
  if (converter_) (void)iconv_close(*converter_);
}

bool TextDecoder::knows(uint32_t codePage) {
  return codePage == MOBI_UTF8 ||
         std::find(kCodePages.begin(), kCodePages.end(), codePage) != kCodePages.end();
}

void TextDecoder::append(std::string_view raw, std::string& text) {
  if (isUtf8()) {
    appendUtf8(raw, text);
  } else {
    appendConverted(raw, text);
  }
}

void TextDecoder::appendConverted(std::string_view raw, std::string& text) {
  std::string rawCopy(raw);
  char* in = rawCopy.data();
  size_t left = rawCopy.size();
  std::string converted;
  std::array<char, 1024> buffer{};
  while (left > 0) {
    char* out = buffer.data();
    size_t space = buffer.size();
    const bool stopped = iconv(*converter_, &in, &left, &out, &space) == static_cast<size_t>(-1);
    const int reason = errno;
    converted.append(buffer.data(), buffer.size() - space);
    if (stopped && reason != E2BIG) {
      converted.append(kReplacement);
      ++in;
      --left;
    }
  }
  appendUtf8(converted, text);
}

}  // namespace kav_mobi
