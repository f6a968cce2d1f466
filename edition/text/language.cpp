// Asks libcld2, and the scripts where a text is too short for it.
#include "edition/text/language.h"

#include <cstdio>

#include <cld2/public/compact_lang_det.h>

#include <algorithm>
#include <iterator>

#include "edition/text/characters.h"

namespace {

struct NamedLanguage {
  std::string_view name;  // in lower case
  std::string_view tag;
};

constexpr NamedLanguage kLanguages[] = {
    {"afrikaans", "af"},  {"arabic", "ar"},     {"bulgarian", "bg"}, {"catalan", "ca"},
    {"chinese", "zh"},    {"croatian", "hr"},   {"czech", "cs"},     {"danish", "da"},
    {"dutch", "nl"},      {"english", "en"},    {"esperanto", "eo"}, {"estonian", "et"},
    {"finnish", "fi"},    {"french", "fr"},     {"german", "de"},    {"greek", "el"},
    {"hebrew", "he"},     {"hindi", "hi"},      {"hungarian", "hu"}, {"icelandic", "is"},
    {"indonesian", "id"}, {"irish", "ga"},      {"italian", "it"},   {"japanese", "ja"},
    {"korean", "ko"},     {"latin", "la"},      {"norwegian", "no"}, {"persian", "fa"},
    {"polish", "pl"},     {"portuguese", "pt"}, {"romanian", "ro"},  {"russian", "ru"},
    {"serbian", "sr"},    {"slovak", "sk"},     {"spanish", "es"},   {"swedish", "sv"},
    {"tagalog", "tl"},    {"thai", "th"},       {"turkish", "tr"},   {"ukrainian", "uk"},
    {"vietnamese", "vi"}, {"welsh", "cy"},      {"yiddish", "yi"},   {"中文", "zh"},
    {"日本語", "ja"},     {"français", "fr"},   {"deutsch", "de"},   {"español", "es"},
    {"italiano", "it"},   {"русский", "ru"},    {"한국어", "ko"},    {"português", "pt"},
};

bool IsTag(std::string_view text) {
  const size_t subtag = text.find('-');
  const std::string_view main = text.substr(0, subtag);
  const auto isAlphanumeric = [](char c) {
    return IsDigit(static_cast<unsigned char>(c)) || (c | 0x20) - 'a' < 26;
  };
  return (main.size() == 2 || main.size() == 3) &&
         std::all_of(main.begin(), main.end(), [](char c) { return c >= 'a' && c <= 'z'; }) &&
         (subtag == std::string_view::npos ||
          (text.size() > subtag + 1 && text.size() < 12 &&
           std::all_of(text.begin() + static_cast<std::ptrdiff_t>(subtag) + 1, text.end(),
                       isAlphanumeric)));
}

// The language that a script alone tells of.
std::string LanguageOfScript(std::string_view sample) {
  struct Script {
    char32_t first;
    char32_t last;
    std::string_view tag;
    size_t count;
  };
  Script scripts[] = {
      {0x3040, 0x30FF, "ja", 0}, {0xAC00, 0xD7A3, "ko", 0}, {0x4E00, 0x9FFF, "zh", 0},
      {0x0E00, 0x0E7F, "th", 0}, {0x0590, 0x05FF, "he", 0}, {0x0600, 0x06FF, "ar", 0},
      {0x0900, 0x097F, "hi", 0}, {0x0370, 0x03FF, "el", 0}, {0x0400, 0x04FF, "ru", 0}};
  size_t letters = 0;
  for (size_t i = 0; i < sample.size();) {
    const Character c = CharacterAt(sample, i);
    i += c.length;
    letters += IsLetter(c.code) ? 1 : 0;
    for (Script& script : scripts)
      script.count += c.code >= script.first && c.code <= script.last ? 1 : 0;
  }
  for (const Script& script : scripts) {
    const size_t least = script.tag == "ja" ? 20 : 2;  // kana stand between Han
    if (letters > 0 && script.count * least > letters) return std::string(script.tag);
  }
  return {};
}

}  // namespace

std::string LanguageOfName(std::string_view name) {
  const std::string folded = FoldedText(Trimmed(name.substr(0, name.find_first_of(",;("))));
  const auto* row = std::find_if(std::begin(kLanguages), std::end(kLanguages),
                                 [&folded](const NamedLanguage& l) { return l.name == folded; });
  if (row != std::end(kLanguages)) return std::string(row->tag);
  return IsTag(Trimmed(name)) ? std::string(Trimmed(name)) : std::string();
}

std::string LanguageOfText(std::string_view sample) {
  CLD2::Language languages[3];
  int percents[3];
  int bytes = 0;
  bool isReliable = false;
  const CLD2::Language best =
      CLD2::DetectLanguageSummary(sample.data(), static_cast<int>(sample.size()), true, languages,
                                  percents, &bytes, &isReliable);
  if (!isReliable || best == CLD2::UNKNOWN_LANGUAGE) return LanguageOfScript(sample);
  std::string code = CLD2::LanguageCode(best);
  if (code == "zh-Hant") return "zh";  // readers look for fonts by what the characters are
  if (code == "iw") return "he";
  if (code == "xx" || code == "un") return LanguageOfScript(sample);
  return code;
}

std::string ScriptOfText(std::string_view sample) {
  // Frequent ones, each at the place of its counterpart.
  constexpr std::u32string_view kTraditional =
      U"們這來時說國會為個對過沒還從開問發樣現經學長見頭動當話讓認實點種氣";
  constexpr std::u32string_view kSimplified =
      U"们这来时说国会为个对过没还从开问发样现经学长见头动当话让认实点种气";
  static_assert(kTraditional.size() == kSimplified.size());
  size_t traditional = 0;
  size_t simplified = 0;
  for (size_t i = 0; i < sample.size();) {
    const Character c = CharacterAt(sample, i);
    i += c.length;
    if (!IsWide(c.code)) continue;
    traditional += kTraditional.find(c.code) != std::u32string_view::npos ? 1 : 0;
    simplified += kSimplified.find(c.code) != std::u32string_view::npos ? 1 : 0;
  }
  if (traditional == simplified) return {};
  return traditional > simplified ? "Hant" : "Hans";
}
