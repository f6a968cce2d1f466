// Classes of characters by libxml2's tables, and what is cut and compared by them.
#include "edition/text/characters.h"

#include <libxml/parserInternals.h>
#include <libxml/xmlunicode.h>

#include "base/xml_text.h"

namespace {

constexpr char32_t kIdeographicSpace = 0x3000;
constexpr char32_t kByteOrderMark = 0xFEFF;

// The start of the last character of a text that is not empty.
size_t LastStart(std::string_view text) {
  size_t start = text.size() - 1;
  while (start > 0 && text.size() - start < 4 &&
         (static_cast<unsigned char>(text[start]) & 0xC0U) == 0x80U) {
    --start;
  }
  return start;
}

constexpr bool IsBetween(char32_t c, char32_t first, char32_t last) {
  return c >= first && c <= last;
}

}  // namespace

bool IsBlank(char32_t c) {
  return c == ' ' || (c >= '\t' && c <= '\r') || c == 0xA0 || c == kIdeographicSpace ||
         IsBetween(c, 0x2000, 0x200B) || c == 0x202F || c == 0x205F || c == kByteOrderMark;
}

bool IsLetter(char32_t c) {
  if (c < 0x80) return (c | 0x20U) >= 'a' && (c | 0x20U) <= 'z';
  return IsBetween(c, 0x3400, 0x9FFF) || IsBetween(c, 0x20000, 0x3FFFF) || c == 0x3007 ||
         xmlUCSIsCatL(static_cast<int>(c)) != 0;
}

bool IsCapital(char32_t c) {
  if (c < 0x80) return c >= 'A' && c <= 'Z';
  return xmlUCSIsCatLu(static_cast<int>(c)) != 0;
}

bool IsSmall(char32_t c) {
  if (c < 0x80) return c >= 'a' && c <= 'z';
  return xmlUCSIsCatLl(static_cast<int>(c)) != 0;
}

bool IsWide(char32_t c) {
  return IsBetween(c, 0x2E80, 0x9FFF) || IsBetween(c, 0xF900, 0xFAFF) ||
         IsBetween(c, 0xFE30, 0xFE4F) || IsBetween(c, 0xFF00, 0xFF60) ||
         IsBetween(c, 0xFFE0, 0xFFE6) || IsBetween(c, 0x20000, 0x3FFFF);
}

char32_t Folded(char32_t c) {
  if (IsBetween(c, 'A', 'Z')) return c + 0x20;
  if (c < 0xC0) return c;
  if (IsBetween(c, 0xC0, 0xDE) && c != 0xD7) return c + 0x20;
  if (IsBetween(c, 0x100, 0x137) || IsBetween(c, 0x14A, 0x177) || IsBetween(c, 0x1E00, 0x1EFF)) {
    return c | 1U;  // capitals are even there
  }
  if (IsBetween(c, 0x139, 0x148) || IsBetween(c, 0x179, 0x17E)) return c + (c & 1U);
  if (IsBetween(c, 0x391, 0x3A9)) return c + 0x20;
  if (IsBetween(c, 0x410, 0x42F)) return c + 0x20;
  if (IsBetween(c, 0x400, 0x40F)) return c + 0x50;
  switch (c) {
    case 0x386:
      return 0x3AC;
    case 0x388:
    case 0x389:
    case 0x38A:
      return c + 0x25;
    case 0x38C:
      return 0x3CC;
    case 0x38E:
    case 0x38F:
      return c + 0x3F;
    case 0x1A0:
    case 0x1AF:
      return c + 1;
    default:
      return c;
  }
}

void Append(char32_t c, std::string& out) {
  xmlChar buffer[4];
  const int length = xmlCopyChar(0, buffer, static_cast<int>(c));
  out.append(reinterpret_cast<const char*>(buffer), static_cast<size_t>(length));
}

char32_t FirstOf(std::string_view text) {
  return text.empty() ? 0 : CharacterAt(text, 0).code;
}

char32_t LastOf(std::string_view text) {
  return text.empty() ? 0 : CharacterAt(text, LastStart(text)).code;
}

std::string_view WithoutFirst(std::string_view text) {
  return text.empty() ? text : text.substr(CharacterAt(text, 0).length);
}

std::string_view WithoutLast(std::string_view text) {
  return text.empty() ? text : text.substr(0, LastStart(text));
}

std::string_view WithoutBlanksBefore(std::string_view text) {
  while (!text.empty()) {
    const Character first = CharacterAt(text, 0);
    if (!IsBlank(first.code)) break;
    text.remove_prefix(first.length);
  }
  return text;
}

std::string_view WithoutBlanksBehind(std::string_view text) {
  while (!text.empty()) {
    const size_t start = LastStart(text);
    if (!IsBlank(CharacterAt(text, start).code)) break;
    text = text.substr(0, start);
  }
  return text;
}

std::string_view Trimmed(std::string_view text) {
  return WithoutBlanksBehind(WithoutBlanksBefore(text));
}

size_t CountCharacters(std::string_view text) {
  constexpr size_t kMost = 255;  // that a small number counts, which is what processors do at once
  size_t count = 0;
  for (size_t begin = 0; begin < text.size(); begin += kMost) {
    std::uint8_t some = 0;
    for (const char c : text.substr(begin, kMost)) {
      some = static_cast<std::uint8_t>(some + ((static_cast<unsigned char>(c) & 0xC0U) != 0x80U));
    }
    count += some;
  }
  return count;
}

std::string FoldedText(std::string_view text) {
  std::string out(text);
  size_t plain = 0;
  for (; plain < out.size() && static_cast<unsigned char>(out[plain]) < 0x80; ++plain) {
    if (out[plain] >= 'A' && out[plain] <= 'Z') out[plain] = static_cast<char>(out[plain] + 0x20);
  }
  out.resize(plain);
  for (size_t i = plain; i < text.size();) {
    const Character c = CharacterAt(text, i);
    Append(Folded(c.code), out);
    i += c.length;
  }
  return out;
}

std::uint64_t LettersHash(std::string_view text) {
  constexpr std::uint64_t kPrime = 0x100000001B3;
  std::uint64_t hash = 0;
  for (size_t i = 0; i < text.size();) {
    const Character c = CharacterAt(text, i);
    i += c.length;
    if (!IsLetter(c.code) && !IsDigit(c.code)) continue;
    if (hash == 0) hash = 0xCBF29CE484222325;
    hash = (hash ^ Folded(c.code)) * kPrime;
  }
  return hash;
}
