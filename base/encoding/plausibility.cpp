// Decodes samples and counts what is strange in them.
#include "base/encoding/plausibility.h"

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cstdint>
#include <cwctype>
#include <iterator>
#include <new>
#include <set>
#include <string>
#include <vector>

#include "base/encoding/text_decoder.h"
#include "base/utf8.h"

namespace {

using Text = std::vector<wchar_t>;

constexpr size_t kWideSample = size_t{1} << 16;
constexpr size_t kStrayUnits = 1000;  // one in so many may be damaged
constexpr size_t kWeightOfDamage = 10;

// The characters that texts of East Asia are full of: a third and more of any, where hardly one in
// ten is of them when the encoding is wrong.
constexpr std::string_view kCommonChinese =
    "，。、；：？！「」“”的一是不了人我在有他這这中大來来上個个國国到說说們们為为子和你地出道也時时"
    "年得就那要下以生會会自着著去之過过家學学對对可里裡後后小麼么心多天而能好都然沒没日於于起還还"
    "發发成事只作當当想看文無无開开手十用主行方又如前所本見见經经頭头面公同三已老從从動动兩两長长";
constexpr std::string_view kCommonJapanese =
    "、。「」ーあいうえおかがきくけこさしすせそただちっつてでとどなにねのはばへまみめもやゆよらりる"
    "れ"
    "ろわをんアイカクコシスタテトナニノハフマムメラリルレロン一人日大本中";
constexpr std::string_view kCommonKorean =
    "이다는의에을를고하가은사나지로도기리어아인대그시자해서한일스라정들보있음면게으전수여만것과부"
    "장";

constexpr size_t kFewForeign = 20;
constexpr size_t kShareOfCommon = 8;

constexpr struct {
  std::string_view encoding;
  std::string_view common;
} kEastAsian[] = {
    {"GB18030", kCommonChinese}, {"BIG5-HKSCS", kCommonChinese}, {"EUC-TW", kCommonChinese},
    {"CP932", kCommonJapanese},  {"EUC-JP-MS", kCommonJapanese}, {"CP949", kCommonKorean},
};

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
  size_t stray = 0;
  for (size_t at = 0; at + 4 <= bytes.size(); at += 4) {
    const std::uint32_t c = UnitAt(bytes, at, 4, isBigEndian);
    if (c > 0x10FFFF || IsSurrogate(c) || IsControl(c)) ++stray;
  }
  return bytes.size() >= 4 && stray * 4 * kStrayUnits <= bytes.size();
}

// How many units are common everywhere; 0 when too many are what no UTF-16 text has.
size_t CountCommonUnits(std::string_view bytes, bool isBigEndian) {
  size_t common = 0;
  size_t stray = 0;
  bool isInPair = false;
  for (size_t at = 0; at + 2 <= bytes.size(); at += 2) {
    const std::uint32_t c = UnitAt(bytes, at, 2, isBigEndian);
    const bool isSecond = c >= 0xDC00 && c < 0xE000;
    if (isSecond != isInPair || IsControl(c) || c >= 0xFFFE) ++stray;
    isInPair = IsSurrogate(c) && !isSecond;
    if (IsCommonEverywhere(c)) ++common;
  }
  return stray * 2 * kStrayUnits <= bytes.size() ? common : 0;
}

Text CodePointsOf(std::string_view utf8) {
  Text text;
  while (!utf8.empty()) {
    const Utf8Unit unit = DecodeUtf8(utf8);
    text.push_back(static_cast<wchar_t>(unit.codePoint));
    utf8.remove_prefix(unit.length);
  }
  return text;
}

// Whether a text in an encoding of East Asia has far too few of the characters that it should have.
bool LacksCommonCharacters(const Text& text, std::string_view encoding) {
  const auto* row = std::find_if(std::begin(kEastAsian), std::end(kEastAsian),
                                 [&](const auto& other) { return other.encoding == encoding; });
  if (row == std::end(kEastAsian)) return false;
  const Text common = CodePointsOf(row->common);
  const std::set<wchar_t> wanted(common.begin(), common.end());
  size_t foreign = 0;
  size_t found = 0;
  for (const wchar_t c : text) {
    if (c < 0x80) continue;
    ++foreign;
    found += wanted.count(c);
  }
  return foreign >= kFewForeign && found * kShareOfCommon < foreign;
}

// Character classes that do not depend on the user's language.
class Classes {
 public:
  Classes() : locale(newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr)) {
    if (locale == nullptr && errno == ENOMEM) throw std::bad_alloc();
  }
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

// Languages in Latin letters keep to plain ones for the most part; three others in a row are hardly
// one of them.
bool IsAccented(wchar_t c) {
  return c >= 0xC0 && ScriptOf(c) == Script::kLatin;
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
    const bool isAllAccents = IsAccented(before) && IsAccented(c) && IsAccented(after);
    return isMixed || isAllAccents || (classes.IsSmall(before) && classes.IsCapital(c));
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

double ShareOfFaults(std::string_view sample, std::string_view encoding) {
  static const Classes classes;  // costs a file to read
  TextDecoder decoder(encoding);
  if (!decoder.Exists() || !classes.Exist()) return 1;
  std::string decoded;
  decoder.Decode(sample, decoded);
  const Text text = CodePointsOf(decoded);
  if (text.empty() || LacksCommonCharacters(text, encoding)) return 1;
  size_t foreign = 0;
  size_t faults = decoder.Damages().count * kWeightOfDamage;
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
  const Utf8Count count = CountUtf8(sample);
  return count.multiByte > count.broken;
}
