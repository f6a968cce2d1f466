// Decodes samples and counts what is strange in them.
#include "hosts/kavepub/source/encoding_plausibility.h"

#include <algorithm>
#include <clocale>
#include <cstdint>
#include <cstring>
#include <cwctype>
#include <vector>

#include "hosts/kavepub/source/converter.h"

namespace {

using Text = std::vector<wchar_t>;

constexpr size_t kWideSample = size_t{1} << 16;

bool IsControl(std::uint32_t c) {
  const bool isUsual = (c >= '\t' && c <= '\r') || c == 0x1A || c == 0x1B;
  return (c < ' ' && !isUsual) || (c >= 0x7F && c < 0xA0);
}

bool IsSurrogate(std::uint32_t c) {
  return c >= 0xD800 && c < 0xE000;
}

// What texts of every script are full of: blanks, line ends, digits, punctuation, Latin letters.
bool IsCommonEverywhere(std::uint32_t c) {
  constexpr struct {
    std::uint32_t first, last;
  } kRanges[] = {
      {'\t', '\r'}, {' ', '~'}, {0xA0, 0xFF}, {0x2010, 0x203A}, {0x3000, 0x3002}, {0xFF01, 0xFF1F},
  };
  for (const auto& range : kRanges) {
    if (c >= range.first && c <= range.last) return true;
  }
  return false;
}

std::uint32_t UnitAt(std::string_view bytes, size_t at, size_t size, bool isBigEndian) {
  std::uint32_t unit = 0;
  for (size_t i = 0; i < size; ++i) {
    const size_t place = isBigEndian ? at + i : at + size - 1 - i;
    unit = unit << 8 | static_cast<unsigned char>(bytes[place]);
  }
  return unit;
}

bool IsUtf32(std::string_view bytes, bool isBigEndian) {
  for (size_t at = 0; at + 4 <= bytes.size(); at += 4) {
    const std::uint32_t c = UnitAt(bytes, at, 4, isBigEndian);
    if (c > 0x10FFFF || IsSurrogate(c) || IsControl(c)) return false;
  }
  return bytes.size() >= 4;
}

// How many units are common everywhere; 0 when there is a unit that no UTF-16 text has.
size_t CountCommonUnits(std::string_view bytes, bool isBigEndian) {
  size_t common = 0;
  bool isInPair = false;
  for (size_t at = 0; at + 2 <= bytes.size(); at += 2) {
    const std::uint32_t c = UnitAt(bytes, at, 2, isBigEndian);
    const bool isSecond = c >= 0xDC00 && c < 0xE000;
    if (isSecond != isInPair || IsControl(c) || c >= 0xFFFE) return 0;
    isInPair = IsSurrogate(c) && !isSecond;
    if (IsCommonEverywhere(c)) ++common;
  }
  return common;
}

Text Decode(std::string_view sample, const std::string& encoding) {
  Converter converter(encoding, "WCHAR_T");
  std::string decoded;
  if (!converter.Exists() || !converter.Decode(sample, decoded)) return {};
  Text text(decoded.size() / sizeof(wchar_t));
  std::memcpy(text.data(), decoded.data(), text.size() * sizeof(wchar_t));
  return text;
}

// Character classes that do not depend on the user's language.
class Classes {
 public:
  Classes() : locale(newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr)) {}
  ~Classes() {
    if (locale != nullptr) freelocale(locale);
  }
  Classes(const Classes&) = delete;
  Classes& operator=(const Classes&) = delete;

  bool Exist() const { return locale != nullptr; }
  bool IsLetter(wchar_t c) const { return Is(c, &iswalpha_l); }
  bool IsCapital(wchar_t c) const { return Is(c, &iswupper_l); }
  bool IsSmall(wchar_t c) const { return Is(c, &iswlower_l); }
  bool IsPrintable(wchar_t c) const { return Is(c, &iswprint_l) || Is(c, &iswspace_l); }

 private:
  bool Is(wchar_t c, int (*belongs)(wint_t, locale_t)) const {
    return belongs(static_cast<wint_t>(c), locale) != 0;
  }

  locale_t locale;
};

enum class Script { kLatin, kGreek, kCyrillic, kOther };

Script ScriptOf(wchar_t c) {
  if (c < 0x250 || (c >= 0x1E00 && c < 0x1F00)) return Script::kLatin;
  if (c < 0x370) return Script::kOther;
  if (c < 0x400) return Script::kGreek;
  return c < 0x530 ? Script::kCyrillic : Script::kOther;
}

// Apostrophes, hyphens and dashes, the soft hyphen and the dot of Catalan.
bool JoinsWords(wchar_t c) {
  return (c >= 0x2010 && c <= 0x2019) || c == 0x2026 || c == 0xAD || c == 0xB7;
}

bool IsFault(const Classes& classes, wchar_t before, wchar_t c, wchar_t after) {
  const bool isPrivate = c >= 0xE000 && c < 0xF900;
  if (isPrivate || IsControl(static_cast<std::uint32_t>(c)) || !classes.IsPrintable(c)) return true;
  if (!classes.IsLetter(before)) return false;
  if (classes.IsLetter(c)) {
    const bool isMixed = ScriptOf(before) != ScriptOf(c);
    return isMixed || (classes.IsSmall(before) && classes.IsCapital(c));
  }
  const bool isInWord = classes.IsLetter(after) && ScriptOf(before) != Script::kOther &&
                        ScriptOf(after) != Script::kOther;
  return c >= 0x80 && isInWord && !JoinsWords(c);
}

}  // namespace

std::string_view GuessWideEncoding(std::string_view beginning) {
  const std::string_view sample = beginning.substr(0, kWideSample);
  const bool isAscii = std::all_of(sample.begin(), sample.end(), [](char c) { return c > '\0'; });
  if (isAscii) return {};
  if (IsUtf32(sample, false)) return "UTF-32LE";
  if (IsUtf32(sample, true)) return "UTF-32BE";
  const size_t little = CountCommonUnits(sample, false);
  const size_t big = CountCommonUnits(sample, true);
  if (little > 2 * big) return "UTF-16LE";
  if (big > 2 * little) return "UTF-16BE";
  return {};
}

double ShareOfFaults(std::string_view sample, const std::string& encoding) {
  const Text text = Decode(sample, encoding);
  static const Classes classes;  // costs a file to read
  if (text.empty() || !classes.Exist()) return 1;
  size_t foreign = 0;
  size_t faults = 0;
  for (size_t i = 0; i < text.size(); ++i) {
    const wchar_t before = i > 0 ? text[i - 1] : L' ';
    const wchar_t after = i + 1 < text.size() ? text[i + 1] : L' ';
    if (text[i] < 0x80 && before < 0x80) continue;
    if (text[i] >= 0x80) ++foreign;
    if (IsFault(classes, before, text[i], after)) ++faults;
  }
  return foreign == 0 ? 0 : static_cast<double>(faults) / static_cast<double>(foreign);
}

bool IsMostlyUtf8(std::string_view sample) {
  Converter utf8("UTF-8");
  std::string decoded;
  size_t damages = 0;
  while (!utf8.Decode(sample, decoded)) {
    sample.remove_prefix(1);
    ++damages;
  }
  size_t foreign = 0;
  for (const char c : decoded) {
    if (static_cast<unsigned char>(c) >= 0xC0) ++foreign;
  }
  return foreign > 10 * damages;
}
