// Decoding of text: UTF-8 is checked, other code pages are converted to it.
#include "base/mobi/encoding.h"

#include <mobi.h>

#include <algorithm>
#include <array>

#include "base/utf8.h"

namespace kav_mobi {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

// The code pages whose markup is recognised by its ASCII bytes: Windows' own, East Asian ones
// included.
constexpr std::array<uint32_t, 14> kCodePages = {874,  932,  936,  949,  950,  1250, 1251,
                                                 1252, 1253, 1254, 1255, 1256, 1257, 1258};

bool IsControl(unsigned char byte) {
  return (byte < 0x20 && byte != '\t' && byte != '\n' && byte != '\r') || byte == 0x7F;
}

// What XML forbids though it is UTF-8.
bool IsForbidden(std::uint32_t codePoint) {
  return codePoint == 0xFFFE || codePoint == 0xFFFF;
}

void AppendUtf8(std::string_view raw, std::string& text) {
  size_t copied = 0;
  size_t at = 0;
  while (at < raw.size()) {
    const auto byte = static_cast<unsigned char>(raw[at]);
    if (byte < 0x80 && !IsControl(byte)) {
      ++at;
      continue;
    }
    const Utf8Unit unit = DecodeUtf8(raw.substr(at));
    const bool isCharacter = unit.kind == Utf8Unit::Kind::kCharacter;
    if (byte >= 0x80 && isCharacter && !IsForbidden(unit.codePoint)) {
      at += unit.length;
      continue;
    }
    text.append(raw.substr(copied, at - copied));
    if (byte >= 0x80) text.append(kReplacement);
    at += unit.length;
    copied = at;
  }
  text.append(raw.substr(copied));
}

}  // namespace

bool IsUtf8(std::string_view text) {
  return ValidUtf8Length(text) == text.size();
}

TextDecoder::TextDecoder(uint32_t codePage) {
  if (codePage == MOBI_UTF8) return;
  decoder.emplace("CP" + std::to_string(codePage));
  // The system may lack the conversion: the text is then read as UTF-8, as far as it goes.
  if (!decoder->Exists()) decoder.reset();
}

bool TextDecoder::Knows(uint32_t codePage) {
  return codePage == MOBI_UTF8 ||
         std::find(kCodePages.begin(), kCodePages.end(), codePage) != kCodePages.end();
}

void TextDecoder::Append(std::string_view raw, std::string& text) {
  if (IsUtf8()) {
    AppendUtf8(raw, text);
    return;
  }
  std::string decoded;
  decoder->Decode(raw, decoded);
  decoder->Finish(decoded);
  AppendUtf8(decoded, text);
}

}  // namespace kav_mobi
