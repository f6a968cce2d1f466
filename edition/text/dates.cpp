// Reads dates word by word, in the languages that numerals are read in.
#include "edition/text/dates.h"

#include <algorithm>
#include <string>
#include <unordered_map>

#include "edition/text/characters.h"
#include "edition/text/numerals.h"

namespace {

constexpr size_t kLongestDate = 60;  // bytes
constexpr int kDaysOfMonth = 31;
constexpr int kMonths = 12;

constexpr std::string_view kMonthNames[] = {
    "january february march april may june july august september october november december",
    "jan feb mar apr may jun jul aug sept oct nov dec",
    "janvier février mars avril mai juin juillet août septembre octobre novembre décembre",
    "januar februar märz april mai juni juli august september oktober november dezember",
    "enero febrero marzo abril mayo junio julio agosto septiembre octubre noviembre diciembre",
    "gennaio febbraio marzo aprile maggio giugno luglio agosto settembre ottobre novembre dicembre",
    "janeiro fevereiro março abril maio junho julho agosto setembro outubro novembro dezembro",
    "января февраля марта апреля мая июня июля августа сентября октября ноября декабря",
};

// Words that dates have beside; weekdays for the most part.
constexpr std::string_view kOtherWords =
    "the of le de do del den der am monday tuesday wednesday thursday friday saturday sunday mon "
    "tue "
    "wed thu fri sat sun lundi mardi mercredi jeudi vendredi samedi dimanche montag dienstag "
    "mittwoch "
    "donnerstag freitag samstag sonnabend sonntag lunes martes miércoles jueves viernes sábado "
    "domingo "
    "lunedì martedì mercoledì giovedì venerdì sabato domenica segunda-feira terça-feira "
    "quarta-feira "
    "quinta-feira sexta-feira понедельник вторник среда четверг пятница суббота воскресенье года";

using Months = std::unordered_map<std::string, int>;  // 0: another word

void AddWords(std::string_view words, int first, int step, Months& months) {
  for (int value = first; !words.empty(); value += step) {
    const size_t end = std::min(words.find(' '), words.size());
    months.emplace(words.substr(0, end), value);
    words.remove_prefix(std::min(end + 1, words.size()));
  }
}

Months MakeMonths() {
  Months months;
  for (const std::string_view names : kMonthNames) AddWords(names, 1, 1, months);
  AddWords(kOtherWords, 0, 0, months);
  return months;
}

int PlaceOf(int month, int day) {
  const bool isDate = month >= 1 && month <= kMonths && day >= 1 && day <= kDaysOfMonth;
  return isDate ? month * (kDaysOfMonth + 1) + day : 0;
}

// The number at the beginning with its sign, which are taken away; 0 where it is another.
int TakeBefore(std::string_view sign, std::string_view& text) {
  const Numeral digits = ReadDigits(text);
  const Numeral numeral = digits ? digits : ReadHanNumeral(text);
  if (!numeral || !text.substr(numeral.length).starts_with(sign)) return 0;
  text.remove_prefix(numeral.length + sign.size());
  return numeral.value;
}

// "1926年5月3日", with the weather behind it.
int ReadWideDate(std::string_view text) {
  constexpr size_t kLongestRest = 12;  // characters
  TakeBefore("年", text);
  text = WithoutBlanksBefore(text);
  const int month = TakeBefore("月", text);
  text = WithoutBlanksBefore(text);
  const int day = TakeBefore("日", text);
  const char32_t next = FirstOf(text);
  const bool isWhole = text.empty() || IsBlank(next) || next == U'（' || next == '(';
  return isWhole && CountCharacters(text) <= kLongestRest ? PlaceOf(month, day) : 0;
}

bool Separates(char32_t c) {
  return IsBlank(c) || std::u32string_view(U".,:;—–-").find(c) != std::u32string_view::npos;
}

}  // namespace

int ReadDateLine(std::string_view line) {
  static const Months months = MakeMonths();
  if (line.size() > kLongestDate) return 0;
  if (line.find("月") != std::string_view::npos) return ReadWideDate(line);
  int month = 0;
  int day = 0;
  bool hasYear = false;
  while (!line.empty()) {
    if (Separates(FirstOf(line))) {
      line = WithoutFirst(line);
      continue;
    }
    size_t length = 0;
    while (length < line.size() && !Separates(CharacterAt(line, length).code)) {
      length += CharacterAt(line, length).length;
    }
    const std::string word = FoldedText(line.substr(0, length));
    line.remove_prefix(length);
    if (const Numeral number = ReadDigits(word)) {
      static constexpr std::string_view kEndings[] = {"", "st", "nd", "rd", "th", "er", "º", "ª"};
      const bool isPlain = number.length == word.size();
      const std::string_view ending = std::string_view(word).substr(number.length);
      if (std::find(std::begin(kEndings), std::end(kEndings), ending) == std::end(kEndings))
        return 0;
      const bool isDay = number.value <= kDaysOfMonth;
      if (isDay ? day != 0 : hasYear || !isPlain) return 0;
      if (isDay) day = number.value;
      hasYear = hasYear || !isDay;
      continue;
    }
    const auto found = months.find(word);
    if (found == months.end() || (found->second > 0 && month > 0)) return 0;
    if (found->second > 0) month = found->second;
  }
  return PlaceOf(month, day);
}
