// Takes lines apart that may be headings: marks, number, title.
#include "edition/text/heading_line.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>

#include "edition/text/characters.h"
#include "edition/text/dates.h"

namespace {

using Form = HeadingLine::Form;

constexpr std::u32string_view kOrnaments = U"【〖〔［[《〈<*=#-—–―─━_~·•◎●○■□▲△☆★◆◇※§＊＃＝－>";
constexpr std::u32string_view kClosers = U"】〗〕］]》〉>*=#-—–―─━_~·•◎●○■□▲△☆★◆◇※§＊＃＝－";
constexpr std::u32string_view kSpeechMarks = U"\"“‘「『„«";
constexpr std::u32string_view kSentenceEnds = U"。…；;，,";
constexpr std::u32string_view kCries = U"！？!?";  // titles can end with them
constexpr size_t kShortTitle = 20;
constexpr std::u32string_view kClosingMarks = U"\"”’」』»）)]】";
constexpr std::u32string_view kTitleSeparators =
    U".．。:：、,，-—–―‒－─·•|｜/／)）】］]〕〗》>】~～";
constexpr std::string_view kCountedNames[] = {"番外篇", "番外編", "番外", "外傳", "外传",
                                              "特別篇", "幕間",   "幕间", "間章", "间章"};
// Names that titles follow; behind others, such as "說明", stands what they announce.
constexpr std::string_view kTitledNames =
    "|楔子|序章|序幕|序曲|引子|引言|尾聲|尾声|終章|终章|最終章|最终章|後記|后记|大結局|大结局|番外|"
    "番外篇|番外編|外傳|外传|間章|间章|幕間|幕间|プロローグ|エピローグ|프롤로그|에필로그|외전|"
    "prologue|"
    "epilogue|prelude|interlude|introduction|afterword|coda|epilog|prolog|vorspiel|nachspiel|"
    "prólogo|"
    "epílogo|prologo|epilogo|épilogue|пролог|эпилог|";
constexpr std::u32string_view kSets = U"上中下前後后續续外";

bool IsIn(char32_t c, std::u32string_view set) {
  return set.find(c) != std::u32string_view::npos;
}

std::string_view WithoutOrnaments(std::string_view text) {
  for (int i = 0; i < 8 && !text.empty(); ++i) {
    const Character first = CharacterAt(text, 0);
    if (!IsIn(first.code, kOrnaments) && !IsBlank(first.code)) break;
    text.remove_prefix(first.length);
  }
  return text;
}

std::string_view WithoutClosers(std::string_view text) {
  while (!text.empty() && (IsIn(LastOf(text), kClosers) || IsBlank(LastOf(text)))) {
    text = WithoutLast(text);
  }
  return text;
}

// A part of a heading that was read, and what is left of the line.
struct PartRead {
  NumberedPart part;
  Form form = Form::kMarked;
  std::uint16_t detail = 0;
  std::string_view rest;
};

std::uint16_t DetailOf(std::string_view word) {
  const std::uint64_t hash = LettersHash(word);
  return static_cast<std::uint16_t>((hash ^ hash >> 16 ^ hash >> 32) | 1U);
}

size_t FirstLength(std::string_view text) {
  return text.empty() ? 0 : CharacterAt(text, 0).length;
}

Numeral ReadHanOrDigits(std::string_view text) {
  const Numeral digits = ReadDigits(text);
  return digits ? digits : ReadHanNumeral(text);
}

// "第三回", "제 3 장"; after the mark.
std::optional<PartRead> ReadMarkedCounter(std::string_view text) {
  text = WithoutBlanksBefore(text);
  const Numeral digits = ReadDigits(text);
  const Numeral numeral = digits ? digits : ReadSpacedHanNumeral(text);
  if (!numeral) return std::nullopt;
  const std::string_view behind = WithoutBlanksBefore(text.substr(numeral.length));
  PartRead read;
  read.part.number = numeral.value;
  if (const UnitMatch counter = UnitOfCounter(behind); counter.length > 0) {
    read.part.unit = counter.unit;
    read.rest = behind.substr(counter.length);
    return read;
  }
  if (behind.empty() || !IsLetter(FirstOf(behind)) ||
      behind.data() != text.data() + numeral.length) {
    return std::nullopt;
  }
  const size_t length = FirstLength(behind);
  read.part.unit = kUnknownWord;
  read.detail = DetailOf(behind.substr(0, length));
  read.rest = behind.substr(length);
  return read;
}

// "卷之三", "卷上".
std::optional<PartRead> ReadPrefixed(std::string_view text) {
  const UnitMatch prefix = UnitOfPrefix(text);
  if (prefix.length == 0) return std::nullopt;
  std::string_view rest = WithoutBlanksBefore(text.substr(prefix.length));
  for (const std::string_view joiner : {"之", "第", "の"}) {
    if (rest.starts_with(joiner)) {
      rest = rest.substr(joiner.size());
      break;
    }
  }
  PartRead read;
  read.part.unit = prefix.unit;
  if (const Numeral numeral = ReadHanOrDigits(rest)) {
    read.part.number = numeral.value;
    read.rest = rest.substr(numeral.length);
    return read;
  }
  const char32_t set = FirstOf(rest);
  if (set != U'上' && set != U'中' && set != U'下') return std::nullopt;
  read.rest = rest.substr(FirstLength(rest));
  if (!read.rest.empty() && !IsBlank(FirstOf(read.rest))) return std::nullopt;
  read.part.number = set == U'上' ? 1 : set == U'中' ? 2 : 3;
  read.detail = 1;
  return read;
}

// "上卷", "外篇".
std::optional<PartRead> ReadSet(std::string_view text) {
  const char32_t set = FirstOf(text);
  const size_t place = kSets.find(set);
  if (place == std::u32string_view::npos) return std::nullopt;
  const std::string_view behind = text.substr(FirstLength(text));
  const UnitMatch counter = UnitOfCounter(behind);
  if (counter.length == 0 || RankOf(counter.unit) != Rank::kVolume) return std::nullopt;
  PartRead read;
  read.rest = behind.substr(counter.length);
  if (!read.rest.empty() && !IsBlank(FirstOf(read.rest)) &&
      !IsIn(FirstOf(read.rest), kTitleSeparators)) {
    return std::nullopt;
  }
  read.part = {counter.unit,
               place < 3 ? static_cast<int>(place) + 1 : 1 + static_cast<int>(place > 3)};
  read.detail = 1;
  return read;
}

std::string_view WordAt(std::string_view text) {
  size_t length = 0;
  while (length < text.size()) {
    const Character c = CharacterAt(text, length);
    const bool isMark = (c.code >= 0x300 && c.code < 0x370) ||
                        (c.code >= 0x93A && c.code < 0x950) || (c.code >= 0xE31 && c.code < 0xE4F);
    if ((!IsLetter(c.code) && !isMark && c.code != 0xA7) || IsWide(c.code)) break;
    length += c.length;
  }
  return text.substr(0, length);
}

// What may stand between a word and its number: "Chapter the", "No.", ".", "#".
std::string_view WithoutJoiners(std::string_view text) {
  static constexpr std::string_view kJoiners[] = {"the ", "no. ", "no.",     "nº ",  "n° ", "№ ",
                                                  "№",    "#",    "number ", "thứ ", "-"};
  text =
      WithoutBlanksBefore(text.starts_with('.') || text.starts_with(':') ? text.substr(1) : text);
  const std::string head = FoldedText(text.substr(0, 10));
  for (const std::string_view joiner : kJoiners) {
    if (head.starts_with(joiner)) return WithoutBlanksBefore(text.substr(joiner.size()));
  }
  return text;
}

// A number must be a word of its own.
bool EndsWord(std::string_view rest) {
  return rest.empty() || !IsLetter(FirstOf(rest)) || IsWide(FirstOf(rest));
}

// "CHAPTER IV", "Book the First", "ADVENTURE I".
std::optional<PartRead> ReadWordAndNumber(std::string_view text) {
  const std::string_view word = WordAt(text);
  if (word.empty() || word.size() > 32) return std::nullopt;
  const std::string folded = FoldedText(word);
  Unit unit = UnitOfWord(folded);
  std::string_view behind = text.substr(word.size());
  if (unit == kNoUnit && behind.starts_with('.')) unit = UnitOfWord(folded + ".");
  if (!behind.empty() && FirstOf(word) != 0xA7) {
    const char32_t next = FirstOf(behind);
    if (!IsBlank(next) && next != '.' && next != '-' && next != ':' && next != '#')
      return std::nullopt;
  }
  behind = WithoutJoiners(behind);
  if (behind.empty()) return std::nullopt;
  Numeral numeral = ReadNumeral(behind);
  if (!numeral && unit != kNoUnit) numeral = ReadHebrewNumeral(behind);
  if (!numeral || !EndsWord(behind.substr(numeral.length))) return std::nullopt;
  PartRead read;
  if (unit == kNoUnit) {
    const std::string_view next = behind.substr(numeral.length);
    const bool isWhole = next.empty() || IsIn(FirstOf(next), kTitleSeparators);
    if (!isWhole || !IsCapital(FirstOf(word)) || CountCharacters(word) < 3 ||
        ReadRomanNumeral(word) || IsNoHeadingWord(folded)) {
      return std::nullopt;
    }
    unit = kUnknownWord;
    read.detail = DetailOf(word);
  }
  read.part = {unit, numeral.value};
  read.rest = behind.substr(numeral.length);
  return read;
}

// "First Part", "THE SECOND BOOK", "2. Kapitel", "Première partie".
std::optional<PartRead> ReadNumberAndWord(std::string_view text) {
  if (FoldedText(text.substr(0, 4)) == "the ") text = text.substr(4);
  const Numeral numeral = ReadNumeral(text);
  if (!numeral || numeral.writing == NumeralWriting::kHan) return std::nullopt;
  if (numeral.writing == NumeralWriting::kWords) return std::nullopt;
  std::string_view behind = text.substr(numeral.length);
  for (const std::string_view ending :
       {".", "º", "ª", "th", "st", "nd", "rd", "-я", "-й", "er", "re", "ère", "ème", "e"}) {
    if (behind.starts_with(ending)) {
      behind = behind.substr(ending.size());
      break;
    }
  }
  behind = WithoutBlanksBefore(behind);
  const std::string_view word = WordAt(behind);
  const Unit unit = UnitOfWord(FoldedText(word));
  if (unit == kNoUnit || !EndsWord(behind.substr(word.size()))) return std::nullopt;
  PartRead read;
  read.part = {unit, numeral.value};
  read.rest = behind.substr(word.size());
  return read;
}

// "12章", "三回".
std::optional<PartRead> ReadCounter(std::string_view text) {
  const Numeral numeral = ReadHanOrDigits(text);
  if (!numeral) return std::nullopt;
  const UnitMatch counter = UnitOfCounter(text.substr(numeral.length));
  if (counter.length == 0) return std::nullopt;
  PartRead read;
  read.form = Form::kCounter;
  read.part = {counter.unit, numeral.value};
  read.rest = text.substr(numeral.length + counter.length);
  return read;
}

std::optional<PartRead> ReadPart(std::string_view text) {
  if (text.empty()) return std::nullopt;
  const char32_t first = FirstOf(text);
  if (first == U'第') return ReadMarkedCounter(text.substr(FirstLength(text)));
  if (first == U'제') return ReadMarkedCounter(text.substr(FirstLength(text)));
  if (IsWide(first)) {
    if (auto read = ReadPrefixed(text)) return read;
    if (auto read = ReadSet(text)) return read;
    return ReadCounter(text);
  }
  if (auto read = ReadNumberAndWord(text)) return read;
  if (IsLetter(first) || first == 0xA7) return ReadWordAndNumber(text);
  return ReadCounter(text);
}

// "2.3 The Harbour", "2.3. The Harbour": a section of what has the number 2.
std::optional<PartRead> ReadDotted(std::string_view text, NumberedPart& outer) {
  constexpr int kMost = 99;
  const Numeral major = ReadDigits(text);
  std::string_view rest = text.substr(major.length);
  if (!major || major.value > kMost || !rest.starts_with('.')) return std::nullopt;
  const Numeral minor = ReadDigits(rest = rest.substr(1));
  if (!minor || minor.value == 0 || minor.value > kMost) return std::nullopt;
  rest = rest.substr(minor.length);
  if (rest.starts_with('.')) rest = rest.substr(1);
  const char32_t next = FirstOf(WithoutBlanksBefore(rest));
  if (!IsBlank(FirstOf(rest)) || !(IsCapital(next) || IsWide(next))) return std::nullopt;
  outer = {kNoUnit, major.value};
  PartRead read;
  read.form = Form::kBare;
  read.part = {kDottedNumber, minor.value};
  read.rest = rest;
  return read;
}

// "I.", "（一）", "12", "ONE"; a title may follow. The mark belongs to the kind.
std::optional<PartRead> ReadBare(std::string_view text, char32_t opener) {
  const Numeral numeral = ReadNumeral(text);
  if (!numeral || numeral.writing == NumeralWriting::kOrdinal) return std::nullopt;
  PartRead read;
  read.form = Form::kBare;
  read.part = {kBareNumber, numeral.value};
  read.rest = text.substr(numeral.length);
  if (opener != 0 && WithoutClosers(read.rest).empty())
    read.rest = read.rest.substr(read.rest.size());
  if (opener == '[' && !read.rest.empty()) return std::nullopt;  // a note
  const char32_t mark = FirstOf(read.rest);
  const bool isMarked = mark != 0 && IsIn(mark, kTitleSeparators);
  const std::string_view behind =
      WithoutBlanksBefore(isMarked ? read.rest.substr(FirstLength(read.rest)) : read.rest);
  if (!isMarked && !behind.empty() && !IsBlank(mark)) return std::nullopt;
  if ((mark == '.' || mark == ':' || mark == '-') && IsDigit(FirstOf(behind))) return std::nullopt;
  if (!behind.empty() && !isMarked) {
    if (numeral.writing == NumeralWriting::kWords) return std::nullopt;
    if (!IsWide(FirstOf(behind)) && !IsCapital(FirstOf(behind)) &&
        !IsIn(FirstOf(behind), kSpeechMarks)) {
      return std::nullopt;
    }
  }
  if (numeral.writing == NumeralWriting::kSmallRoman && !isMarked && !behind.empty()) {
    return std::nullopt;
  }
  // A full stop is left out now and then; other marks are not.
  const char32_t kindMark = mark == '.' || IsBlank(mark) ? 0 : isMarked ? mark : 0;
  read.detail = static_cast<std::uint16_t>(static_cast<unsigned>(numeral.writing) << 12 |
                                           ((opener * 31U + kindMark) & 0xFFFU));
  return read;
}

bool IsFunctionWord(char32_t c) {
  constexpr std::u32string_view kFunctionWords =
      U"的里裡裏中是在有那這这了說说講讲就我你他她它們们和與与也都所";
  return IsIn(c, kFunctionWords);
}

bool IsEndMark(std::string_view title) {
  static constexpr std::string_view kEndMarks[] = {
      "完",   "终",     "終",   "竟",   "畢",  "毕",   "了",      "完了", "end",
      "ends", "終わり", "结束", "結束", "fin", "fine", "the end", "끝"};
  while (!title.empty() && !IsLetter(LastOf(title))) title = WithoutLast(title);
  while (!title.empty() && !IsLetter(FirstOf(title))) title = WithoutFirst(title);
  const std::string folded = FoldedText(title);
  return std::find(std::begin(kEndMarks), std::end(kEndMarks), folded) != std::end(kEndMarks);
}

// "The Pool of Tears ...... 12", "The Pool of Tears      12".
bool EndsInPageNumber(std::string_view title) {
  size_t digits = 0;
  while (digits < title.size() &&
         IsDigit(static_cast<unsigned char>(title[title.size() - 1 - digits]))) {
    ++digits;
  }
  if (digits == 0 || digits > 4 || digits == title.size()) return false;
  const std::string_view before = title.substr(0, title.size() - digits);
  if (before.ends_with("  ") || before.ends_with('\t') || before.ends_with("　")) return true;
  const std::string_view text = WithoutBlanksBehind(before);
  return text.ends_with("..") || text.ends_with("…") || text.ends_with(". .") ||
         text.ends_with("··") || text.ends_with("__");
}

bool HasSmallLetter(std::string_view text) {
  for (size_t i = 0; i < text.size();) {
    const Character c = CharacterAt(text, i);
    if (IsSmall(c.code)) return true;
    i += c.length;
  }
  return false;
}

int CountCommas(std::string_view text) {
  int commas = 0;
  for (size_t i = 0; i < text.size();) {
    const Character c = CharacterAt(text, i);
    commas += c.code == ',' || c.code == U'，' || c.code == U'、' ? 1 : 0;
    i += c.length;
  }
  return commas;
}

// Without blanks and separators before it.
std::string_view TitleIn(std::string_view rest) {
  while (!rest.empty() && (IsBlank(FirstOf(rest)) || IsIn(FirstOf(rest), kTitleSeparators))) {
    rest = WithoutFirst(rest);
  }
  return rest;
}

void JudgeTitle(std::string_view line, std::string_view rest, HeadingLine& heading) {
  const auto set = [&heading](HeadingLine::Flag flag, bool is) {
    if (is) heading.flags = static_cast<std::uint16_t>(heading.flags | flag);
  };
  const char32_t next = FirstOf(rest);
  const bool isSeparated = rest.empty() || IsBlank(next) || IsIn(next, kTitleSeparators) ||
                           IsIn(next, U"（(【《「『“\"〔[") || next == '_' || next == '*';
  std::string_view title = TitleIn(rest);
  heading.title = static_cast<size_t>(title.data() - line.data());
  const bool hasMark = !rest.empty() && !IsBlank(next) && isSeparated;
  title = WithoutClosers(title);
  char32_t last = LastOf(line);
  std::string_view end = line;
  while (!end.empty() && IsIn(last, kClosingMarks)) {
    end = WithoutLast(end);
    last = LastOf(end);
  }
  set(HeadingLine::kGlued, !isSeparated);
  set(HeadingLine::kSmallLetter, !hasMark && IsSmall(FirstOf(title)));
  set(HeadingLine::kEndsSentence,
      !title.empty() && (IsIn(last, kSentenceEnds) ||
                         (IsIn(last, kCries) && CountCharacters(title) > kShortTitle)));
  set(HeadingLine::kCommas, CountCommas(title) > 1);
  set(HeadingLine::kPageNumber, EndsInPageNumber(line.substr(heading.body)));
  set(HeadingLine::kEndMark, IsEndMark(title));
  set(HeadingLine::kCapitals, !HasSmallLetter(title));
  set(HeadingLine::kFunctionWord, !isSeparated && IsFunctionWord(next));
}

// "番外一", "番外之三": a name that is counted; the length of both.
size_t CountedNameLength(std::string_view text) {
  for (const std::string_view name : kCountedNames) {
    if (!text.starts_with(name)) continue;
    std::string_view rest = WithoutBlanksBefore(text.substr(name.size()));
    if (rest.starts_with("之")) rest = rest.substr(FirstLength(rest));
    const Numeral numeral = ReadHanOrDigits(rest);
    if (!numeral) continue;
    rest = rest.substr(numeral.length);
    const bool isWhole =
        rest.empty() || IsBlank(FirstOf(rest)) || IsIn(FirstOf(rest), kTitleSeparators);
    if (isWhole) return text.size() - rest.size();
  }
  return 0;
}

// "楔子 風雪夜", "Prologue: The Storm": the length of the name before a title; 0 where a title is
// none, or the name stands before what is none.
size_t TitledNameLength(std::string_view text) {
  if (const size_t counted = CountedNameLength(text)) return counted;
  constexpr size_t kLongestWide = 24;  // characters of a title
  constexpr size_t kLongest = 60;
  constexpr size_t kLongestName = 24;  // bytes
  size_t length = 0;
  while (length < text.size() && length <= kLongestName &&
         !IsIn(CharacterAt(text, length).code, U"：:—–") &&
         !(IsWide(FirstOf(text)) && IsBlank(CharacterAt(text, length).code)) &&
         text.substr(length, 2) != ". ") {
    length += CharacterAt(text, length).length;
  }
  if (length == text.size() || length > kLongestName) return 0;
  const std::string name = FoldedText(WithoutBlanksBehind(text.substr(0, length)));
  if (kTitledNames.find("|" + name + "|") == std::string_view::npos) {
    return 0;
  }
  std::string_view title = text.substr(length);
  while (!title.empty() && (IsBlank(FirstOf(title)) || IsIn(FirstOf(title), U"：:—–."))) {
    title = WithoutFirst(title);
  }
  const bool isWide = IsWide(FirstOf(title));
  const bool begins = isWide || IsCapital(FirstOf(title)) || IsDigit(FirstOf(title));
  const bool isShort = CountCharacters(title) <= (isWide ? kLongestWide : kLongest);
  return begins && isShort && !IsIn(LastOf(title), U"。，；…,;") ? length : 0;
}

bool ReadName(std::string_view line, std::string_view text, HeadingLine& heading) {
  constexpr size_t kLongestName = 90;
  std::string_view name = WithoutClosers(text);
  while (!name.empty() && IsIn(LastOf(name), U".:：。")) {
    name = WithoutLast(name);
  }
  if (name.empty() || name.size() > kLongestName) return false;
  const bool isWide = IsWide(FirstOf(name));
  NamedPlace place = NamedPlace::kNone;
  std::string folded;
  if (isWide || name.size() <= LongestName()) {
    folded = FoldedText(name);
    place = PlaceOfName(folded);
  }
  // Letters of a name may be spaced: "目　錄".
  if (place == NamedPlace::kNone && isWide) {
    std::string closed;
    for (size_t i = 0; i < folded.size();) {
      const Character c = CharacterAt(folded, i);
      if (!IsBlank(c.code)) closed.append(folded, i, c.length);
      i += c.length;
    }
    place = PlaceOfName(closed);
  }
  if (place == NamedPlace::kNone) {
    const size_t titled = TitledNameLength(text);
    if (titled == 0) return false;
    const std::string bare = FoldedText(WithoutBlanksBehind(text.substr(0, titled)));
    place = PlaceOfName(bare);
    if (place == NamedPlace::kNone) place = NamedPlace::kBetween;
  }
  heading.form = Form::kNamed;
  heading.place = place;
  heading.title = static_cast<size_t>(text.data() - line.data());
  heading.part = {kNoUnit, 0};
  if (!HasSmallLetter(text)) heading.flags |= HeadingLine::kCapitals;
  return true;
}

// "第二卷 第三章": what was read is the volume of the chapter behind it.
void ReadInner(std::string_view line, PartRead& read, HeadingLine& heading) {
  const std::string_view behind = TitleIn(read.rest);
  const std::optional<PartRead> inner = behind.empty() ? std::nullopt : ReadPart(behind);
  if (!inner || inner->form != Form::kMarked || inner->part.unit == read.part.unit ||
      inner->part.unit == kUnknownWord || read.part.unit == kUnknownWord) {
    return;
  }
  heading.outer = read.part;
  heading.inner = static_cast<size_t>(behind.data() - line.data());
  read = *inner;
}

// A heading that begins with its number; `before` is the ornament that stands before that.
std::optional<PartRead> ReadNumber(std::string_view text, char32_t before, HeadingLine& heading) {
  if (FirstOf(text) == U'（' || FirstOf(text) == '(') {
    return ReadBare(text.substr(FirstLength(text)), U'(');
  }
  if (auto read = ReadDotted(text, heading.outer)) return read;
  return ReadBare(text, before);
}

// "上卷 附錄", "Part Two: Appendix": what stands at the end of a volume and names it.
bool ReadSupplement(std::string_view line, const PartRead& volume, HeadingLine& heading) {
  const char32_t next = FirstOf(volume.rest);
  if (RankOf(volume.part.unit) != Rank::kVolume ||
      (!IsBlank(next) && !IsIn(next, kTitleSeparators))) {
    return false;
  }
  const std::string_view name = TitleIn(WithoutClosers(volume.rest));
  if (name.size() > LongestName() || PlaceOfName(FoldedText(name)) != NamedPlace::kBack)
    return false;
  heading.form = Form::kNamed;
  heading.place = NamedPlace::kBetween;
  heading.title = static_cast<size_t>(name.data() - line.data());
  heading.flags = HeadingLine::kOfVolume;
  return true;
}

}  // namespace

bool ReadHeadingLine(std::string_view line, HeadingLine& heading) {
  if (line.empty() || line.size() > kLongestHeadingLine) return false;
  heading = {};
  std::string_view text = WithoutOrnaments(line);
  if (text.empty()) return false;
  const char32_t before =
      text.data() == line.data()
          ? 0
          : LastOf(line.substr(0, static_cast<size_t>(text.data() - line.data())));
  for (const std::string_view prefix : {"正文", "VIP章节", "VIP章節", "章节目录", "最新章节"}) {
    if (!text.starts_with(prefix)) continue;
    const std::string_view rest = WithoutBlanksBefore(text.substr(prefix.size()));
    const bool isSeparated = rest.size() + prefix.size() < text.size();
    if (!rest.empty() && (isSeparated || rest.starts_with("第"))) text = rest;
  }
  if (IsIn(FirstOf(text), kSpeechMarks)) return false;
  heading.body = static_cast<size_t>(text.data() - line.data());

  if (const int date = ReadDateLine(text)) {
    heading.form = Form::kBare;
    heading.part = {kDate, date};
    heading.title = line.size();
    return true;
  }
  std::optional<PartRead> read = ReadPart(text);
  if (read) {
    if (ReadSupplement(line, *read, heading)) return true;
    ReadInner(line, *read, heading);
  } else {
    if (ReadName(line, text, heading)) return true;
    read = ReadNumber(text, before, heading);
    if (!read) return false;
  }
  heading.form = read->form;
  heading.part = read->part;
  heading.detail = read->detail;
  JudgeTitle(line, read->rest, heading);
  return true;
}
