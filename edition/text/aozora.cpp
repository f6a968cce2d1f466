// Reads notes in brackets from the inside out.
#include "edition/text/aozora.h"

#include <iconv.h>

#include <array>
#include <optional>
#include <vector>

#include "edition/text/characters.h"
#include "edition/text/markup.h"
#include "edition/text/numerals.h"

namespace {

constexpr std::string_view kNoteBegin = "［＃";
constexpr std::string_view kNoteEnd = "］";
constexpr std::string_view kMissing = "※";
constexpr std::string_view kReadingBegin = "《";
constexpr std::string_view kReadingEnd = "》";
constexpr std::string_view kBaseMark = "｜";

// Kinds of emphasis: in the notes of a word ("「X」に傍点") and around text.
struct Emphasis {
  std::string_view name;
  Mark begin;
  Mark end;
};
constexpr Emphasis kEmphases[] = {
    {"傍点", Mark::kDotsBegin, Mark::kDotsEnd},
    {"傍線", Mark::kEmBegin, Mark::kEmEnd},
    {"丸傍点", Mark::kDotsBegin, Mark::kDotsEnd},
    {"白ゴマ傍点", Mark::kDotsBegin, Mark::kDotsEnd},
    {"太字", Mark::kStrongBegin, Mark::kStrongEnd},
    {"斜体", Mark::kEmBegin, Mark::kEmEnd},
    {"下付き小文字", Mark::kSubBegin, Mark::kSubEnd},
    {"上付き小文字", Mark::kSupBegin, Mark::kSupEnd},
};

struct HeadingName {
  std::string_view name;
  int level;
};
constexpr HeadingName kHeadingNames[] = {{"大見出し", 0}, {"中見出し", 1}, {"小見出し", 2}};

// Where the note that begins at a place ends, behind its bracket; notes can hold others.
size_t EndOfNote(std::string_view line, size_t begin) {
  size_t depth = 0;
  for (size_t i = begin; i < line.size();) {
    const std::string_view rest = line.substr(i);
    if (rest.starts_with(kNoteBegin)) {
      ++depth;
      i += kNoteBegin.size();
    } else if (rest.starts_with(kNoteEnd)) {
      i += kNoteEnd.size();
      if (--depth == 0) return i;
    } else {
      ++i;
    }
  }
  return std::string_view::npos;
}

// A character by its plane, row and cell in JIS X 0213.
std::string CharacterOfJis(int plane, int row, int cell) {
  const bool isInside =
      (plane == 1 || plane == 2) && row >= 1 && row <= 94 && cell >= 1 && cell <= 94;
  if (!isInside) return {};
  std::string bytes;
  if (plane == 2) bytes += '\x8F';
  bytes += static_cast<char>(row + 0xA0);
  bytes += static_cast<char>(cell + 0xA0);
  iconv_t converter = iconv_open("UTF-8", "EUC-JISX0213");
  if (converter == reinterpret_cast<iconv_t>(-1)) return {};  // NOLINT(performance-no-int-to-ptr)
  std::array<char, 16> out = {};
  char* from = bytes.data();
  size_t fromLeft = bytes.size();
  char* to = out.data();
  size_t toLeft = out.size();
  const bool isDone = iconv(converter, &from, &fromLeft, &to, &toLeft) != static_cast<size_t>(-1) &&
                      iconv(converter, nullptr, nullptr, &to, &toLeft) != static_cast<size_t>(-1);
  iconv_close(converter);
  return isDone ? std::string(out.data(), out.size() - toLeft) : std::string();
}

// "第3水準1-85-54", "1-2-22", "U+6A37、…": the character of a note, empty where it names none.
std::string CharacterOfNote(std::string_view note) {
  if (const size_t code = note.rfind("U+"); code != std::string_view::npos) {
    char32_t value = 0;
    size_t digits = 0;
    for (const char c : note.substr(code + 2)) {
      const char lower = static_cast<char>(c | 0x20);
      const bool isHex = IsDigit(static_cast<unsigned char>(c)) || (lower >= 'a' && lower <= 'f');
      if (!isHex || ++digits > 6) break;
      value = value * 16 + static_cast<char32_t>(lower > '9' ? lower - 'a' + 10 : c - '0');
    }
    const bool isCharacter = value > 0xA0 && value < 0x110000 && (value < 0xD800 || value > 0xDFFF);
    if (digits < 4 || !isCharacter) return {};
    std::string character;
    Append(value, character);
    return character;
  }
  for (size_t i = 0; i < note.size(); ++i) {
    if (!IsDigit(static_cast<unsigned char>(note[i]))) continue;
    const Numeral plane = ReadDigits(note.substr(i));
    size_t at = i + plane.length;
    if (note.substr(at, 1) == "-") {
      const Numeral row = ReadDigits(note.substr(at + 1));
      at += 1 + row.length;
      if (row && note.substr(at, 1) == "-") {
        if (const Numeral cell = ReadDigits(note.substr(at + 1))) {
          return CharacterOfJis(plane.value, row.value, cell.value);
        }
      }
    }
    i += plane.length;
  }
  return {};
}

// "「X」に傍点" and its kin: X and what follows its bracket.
struct Quoted {
  std::string_view text;
  std::string_view behind;
};
std::optional<Quoted> ReadQuoted(std::string_view note) {
  if (!note.starts_with("「")) return std::nullopt;
  size_t depth = 0;
  for (size_t i = 0; i < note.size(); ++i) {
    if (note.substr(i).starts_with("「")) ++depth;
    if (note.substr(i).starts_with("」") && --depth == 0) {
      return Quoted{note.substr(3, i - 3), note.substr(i + 3)};
    }
  }
  return std::nullopt;
}

const Emphasis* EmphasisIn(std::string_view name) {
  for (const Emphasis& emphasis : kEmphases) {
    if (name == emphasis.name) return &emphasis;
  }
  return nullptr;
}

// Reads a line from its beginning to its end.
class LineReader {
 public:
  explicit LineReader(std::string_view line) : rest(line) {}

  AozoraLine Read() {
    while (!rest.empty()) {
      if (rest.starts_with(kMissing) && rest.substr(kMissing.size()).starts_with(kNoteBegin)) {
        TakeMissing();
      } else if (rest.starts_with(kNoteBegin)) {
        TakeNote();
      } else if (rest.starts_with(kReadingBegin)) {
        TakeReading();
      } else if (rest.starts_with(kBaseMark)) {
        TakeBaseMark();
      } else {
        const size_t length = CharacterAt(rest, 0).length;
        result.text.append(rest, 0, length);
        rest.remove_prefix(length);
      }
    }
    while (!open.empty()) {
      result.text += static_cast<char>(open.back());
      open.pop_back();
    }
    return std::move(result);
  }

 private:
  std::string_view TakeBracket(size_t begin) {
    const size_t end = EndOfNote(rest, begin);
    if (end == std::string_view::npos) return {};
    const size_t inner = begin + kNoteBegin.size();
    return rest.substr(inner, end - inner - kNoteEnd.size());
  }

  void KeepFirst() {
    const size_t length = CharacterAt(rest, 0).length;
    result.text.append(rest, 0, length);
    rest.remove_prefix(length);
  }

  void TakeMissing() {
    const std::string_view note = TakeBracket(kMissing.size());
    const std::string character = note.empty() ? std::string() : CharacterOfNote(note);
    if (note.empty()) return KeepFirst();
    const size_t length = kMissing.size() + kNoteBegin.size() + note.size() + kNoteEnd.size();
    // A character that has no code is told in words, as the text does.
    result.text += character.empty() ? rest.substr(0, length) : std::string_view(character);
    rest.remove_prefix(length);
  }

  void TakeReading() {
    const size_t end = rest.find(kReadingEnd);
    if (end == std::string_view::npos || result.text.empty()) return KeepFirst();
    const std::string reading(rest.substr(kReadingBegin.size(), end - kReadingBegin.size()));
    rest.remove_prefix(end + kReadingEnd.size());
    const char32_t before = LastOf(result.text);
    if (!hasBase && !IsLetter(before) && before != U'々' &&
        before != U'〆') {  // a title in brackets
      result.text.append(kReadingBegin).append(reading).append(kReadingEnd);
      return;
    }
    hasBase = false;
    result.text.append("（").append(ReadAozoraLine(reading).text).append("）");
  }

  // "｜" says where the word begins that a reading is for.
  void TakeBaseMark() {
    const size_t reading = rest.find(kReadingBegin);
    if (reading == std::string_view::npos) return KeepFirst();
    hasBase = true;
    rest.remove_prefix(kBaseMark.size());
  }

  void TakeNote() {
    const std::string_view note = TakeBracket(0);
    if (note.empty()) return KeepFirst();
    rest.remove_prefix(kNoteBegin.size() + note.size() + kNoteEnd.size());
    if (const std::optional<Quoted> quoted = ReadQuoted(note)) {
      MarkWord(*quoted);
    } else if (!MarkRange(note)) {
      ReadLineNote(note);
    }
  }

  // The word stands directly before its note, or its reading does.
  void MarkWord(const Quoted& quoted) {
    std::string_view name = quoted.behind;
    for (const std::string_view particle : {"に", "は"}) {
      if (name.starts_with(particle)) name.remove_prefix(particle.size());
    }
    const Emphasis* emphasis = EmphasisIn(name);
    if (emphasis == nullptr) return;
    const std::string word = ReadAozoraLine(quoted.text).text;
    const size_t at = word.empty() ? std::string::npos : result.text.rfind(word);
    if (at == std::string::npos) return;
    result.text.insert(at + word.size(), 1, static_cast<char>(emphasis->end));
    result.text.insert(at, 1, static_cast<char>(emphasis->begin));
  }

  bool MarkRange(std::string_view note) {
    constexpr std::string_view kEnd = "終わり";
    const bool isEnd = note.ends_with(kEnd);
    const Emphasis* emphasis = EmphasisIn(isEnd ? note.substr(0, note.size() - kEnd.size()) : note);
    if (emphasis == nullptr) return false;
    if (!isEnd) {
      result.text += static_cast<char>(emphasis->begin);
      open.push_back(emphasis->end);
    } else if (!open.empty() && open.back() == emphasis->end) {
      result.text += static_cast<char>(emphasis->end);
      open.pop_back();
    }
    return true;
  }

  void ReadLineNote(std::string_view note) {
    if (note.starts_with("改ページ") || note.starts_with("改丁") || note.starts_with("改見開き")) {
      result.isPageBreak = true;
    } else if (note.starts_with("地付き") || note.starts_with("地から")) {
      result.isRight = result.text.empty();
    } else if (note.starts_with("ここから") && note.find("字下げ") != std::string_view::npos) {
      result.indentation = ReadDigits(note.substr(std::string_view("ここから").size())).value;
    } else if (note.starts_with("ここで字下げ終わり")) {
      result.indentation = 0;
    }
  }

  std::string_view rest;
  AozoraLine result;
  std::vector<Mark> open;
  bool hasBase = false;
};

}  // namespace

bool HasAozoraNote(std::string_view line) {
  return line.find(kNoteBegin) != std::string_view::npos;
}

int AozoraHeadingLevel(std::string_view line) {
  for (size_t note = 0; (note = line.find(kNoteBegin, note)) != std::string_view::npos;) {
    note += kNoteBegin.size();
    const std::string_view text = line.substr(note, line.find(kNoteEnd, note) - note);
    for (const HeadingName& heading : kHeadingNames) {
      const bool isWord = text.starts_with("「") && text.ends_with(heading.name);
      const bool isRange = text == heading.name;
      const bool isLines = text.starts_with("ここから") && text.ends_with(heading.name);
      if (isWord || isRange) return heading.level;
      if (isLines) return -1;
    }
  }
  return -1;
}

AozoraLine ReadAozoraLine(std::string_view line) {
  return LineReader(line).Read();
}
