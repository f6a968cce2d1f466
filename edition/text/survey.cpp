// Walks over the lines once, with a cheap look at each and a close one at those that may be
// headings.
#include "edition/text/survey.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "base/byte_set.h"
#include "edition/text/aozora.h"
#include "edition/text/characters.h"

namespace {

constexpr size_t kNone = SIZE_MAX;
constexpr size_t kBeginningSize = 1 << 14;
constexpr std::uint64_t kSampleAt = 1 << 12;
constexpr size_t kSampleSize = 1500;
constexpr size_t kMostSamples = 12'000;  // bytes
constexpr size_t kHeadBytes = 1024;      // of a line that does not end in its piece
constexpr size_t kMeasuredLines = 100'000;
constexpr size_t kMostCandidates = 250'000;
constexpr size_t kMostListEntries = 50'000;
constexpr size_t kLongestListEntry = 110;  // characters
constexpr size_t kShortLine = 45;          // characters; a paragraph may end behind it
constexpr size_t kLongestSetApart = 70;
constexpr std::u32string_view kEnds = U".!?:;\"”’'»。！？：；」』…）)]】*_-—–";

std::uint8_t Saturated(size_t value) {
  return static_cast<std::uint8_t>(std::min<size_t>(value, UINT8_MAX));
}

bool MayEndSentence(std::string_view text) {
  return text.empty() || kEnds.find(LastOf(text)) != std::u32string_view::npos;
}

bool HasCapitalsOnly(std::string_view text) {
  bool hasCapital = false;
  for (size_t i = 0; i < text.size();) {
    const Character c = CharacterAt(text, i);
    if (IsSmall(c.code)) return false;
    hasCapital = hasCapital || IsCapital(c.code);
    i += c.length;
  }
  return hasCapital;
}

// Characters that lines of source code and of records end with, and prose does not.
bool LooksLikeCode(std::string_view head, std::string_view tail) {
  if (tail.empty()) return false;
  const char last = tail.back();
  if (last == '{' || last == '}' || last == '\\' || tail.ends_with("*/")) return true;
  if (last == ';' && (head.find_first_of("()=[]<>_") != std::string_view::npos ||
                      std::count(head.begin(), head.end(), ' ') < 2)) {
    return true;
  }
  static constexpr std::string_view kBeginnings[] = {
      "#include", "import ", "def ",  "return ",   "if (",    "for (",    "//",
      "/*",       "* ",      "self.", "class ",    "public ", "private ", "static ",
      "const ",   "var ",    "let ",  "function ", "</",      "<",        "@",
      "elif ",    "else:",   "try:",  "print(",    "from "};
  return std::any_of(std::begin(kBeginnings), std::end(kBeginnings),
                     [head](std::string_view b) {
                       return head.front() == b.front() && head.starts_with(b);
                     }) ||
         last == '(' ||
         (last == ')' && head.find('(') != std::string_view::npos &&
          head.find(' ') == std::string_view::npos);
}

// A reading in kana behind its word: 見当《けんとう》.
bool HasReading(std::string_view line) {
  constexpr std::string_view kBegin = "《";
  for (size_t at = 0; (at = line.find(kBegin, at)) != std::string_view::npos;) {
    const char32_t before = LastOf(line.substr(0, at));
    at += kBegin.size();
    const char32_t reading = at < line.size() ? CharacterAt(line, at).code : 0;
    const bool isKana = reading > 0x3040 && reading < 0x3100;
    if (isKana && before >= 0x3400 && before < 0xA000) return true;
  }
  return false;
}

// Counts of a line, made in one go as every line is measured.
struct Census {
  size_t tabs = 0;
  size_t bars = 0;
  size_t commas = 0;
  size_t semicolons = 0;
  size_t blanks = 0;
  size_t signs = 0;    // digits and what prose has little of, and a mark that no blank follows
  size_t letters = 0;  // other characters but blanks
};

// The counts of up to 255 bytes lie side by side in one number.
enum Lane : unsigned { kTabs, kBars, kCommas, kSemicolons, kBlanks, kSigns, kLetters };

constexpr std::uint64_t One(Lane lane) {
  return std::uint64_t{1} << (lane * 8);
}

constexpr std::array<std::uint64_t, 256> MakeLanes() {
  std::array<std::uint64_t, 256> lanes = {};
  for (size_t c = 0; c < lanes.size(); ++c) {
    const bool isInside = (c & 0xC0U) == 0x80U;  // of a character
    lanes[c] = isInside ? 0 : One(kLetters);
  }
  for (const char c : std::string_view("0123456789{}[]()<>=|\\/_$#@&+^~%`\t")) {
    lanes[static_cast<unsigned char>(c)] = One(kSigns);
  }
  lanes['\t'] += One(kTabs);
  lanes['|'] += One(kBars);
  lanes[','] += One(kCommas);
  lanes[';'] += One(kSemicolons);
  lanes[' '] = One(kBlanks);
  return lanes;
}
constexpr auto kLanesOf = MakeLanes();

constexpr ByteSet kMarks(",;:");

Census CensusOf(std::string_view head) {
  constexpr size_t kMostInALane = 255;
  Census census;
  size_t tight = 0;
  for (size_t begin = 0; begin < head.size(); begin += kMostInALane) {
    std::uint64_t lanes = 0;
    const size_t end = std::min(begin + kMostInALane, head.size());
    for (size_t i = begin; i < end; ++i) {
      const auto c = static_cast<unsigned char>(head[i]);
      lanes += kLanesOf[c];
      if (kMarks.Has(head[i]) && i + 1 < head.size() && head[i + 1] > ' ') ++tight;
    }
    const auto count = [lanes](Lane lane) { return lanes >> (lane * 8) & 0xFFU; };
    census.tabs += count(kTabs);
    census.bars += count(kBars);
    census.commas += count(kCommas);
    census.semicolons += count(kSemicolons);
    census.blanks += count(kBlanks);
    census.signs += count(kSigns);
    census.letters += count(kLetters);
  }
  census.signs += tight;
  census.letters -= tight;
  return census;
}

// A line of one sign.
bool IsRule(std::string_view head) {
  constexpr size_t kShortest = 3;
  return head.size() >= kShortest &&
         std::string_view("=-~^*#_+").find(head.front()) != std::string_view::npos &&
         head.find_first_not_of(head.front()) == std::string_view::npos;
}

// Digits and signs that prose has few of.
bool LooksTechnical(const Census& census) {
  constexpr size_t kOneIn = 6;  // letters
  return census.signs * kOneIn > census.letters;
}

// Fields of a table, or the time at the beginning of a line of a log.
bool LooksLikeRecord(std::string_view head, const Census& census) {
  if (census.tabs >= 2 || census.bars >= 3) return true;
  if ((census.commas >= 3 && census.blanks <= census.commas) || census.semicolons >= 4) return true;
  const std::string_view begin = head.substr(0, 24);
  const auto digits = std::count_if(begin.begin(), begin.end(),
                                    [](char c) { return IsDigit(static_cast<unsigned char>(c)); });
  return digits >= 8 && std::count(head.begin(), head.end(), ':') >= 2;
}

}  // namespace

bool LineStatistics::IsWrapped() const {
  if (textLines == 0) return false;
  const std::uint64_t longOnes = widths[kWidest];
  if (longOnes * 12 > textLines) return false;
  return followers * 3 > textLines && unfinished * 4 > textLines && ShareOfFullLines() > 0.3;
}

bool LineStatistics::HasShortBlocks() const {
  constexpr size_t kShort = 100;
  std::uint64_t longOnes = 0;
  for (size_t width = kShort; width <= kWidest; ++width) longOnes += widths[width];
  return longOnes * 30 < textLines && followers * 4 > textLines && textLines > followers + 1 &&
         unfinished * 5 > followers;
}

double LineStatistics::ShareOfCapitals() const {
  return unfinished == 0
             ? 0
             : static_cast<double>(unfinishedCapitals) / static_cast<double>(unfinished);
}

bool LineStatistics::IsSpaced() const {
  return textLines > 20 && followers * 5 < textLines && unfinishedBehindBlank * 3 > textLines &&
         widths[kWidest] * 12 < textLines && ShareOfFullLines() > 0.3;
}

double LineStatistics::ShareOfFullLines() const {
  size_t widest = kWidest;
  for (std::uint64_t wider = widths[widest]; wider * 20 < textLines && widest > 0;) {
    wider += widths[--widest];
  }
  std::uint64_t full = 0;
  for (size_t width = widest * 4 / 5; width <= kWidest; ++width) full += widths[width];
  return textLines == 0 ? 0 : static_cast<double>(full) / static_cast<double>(textLines);
}

Survey::Survey(IsHeadingLine headingPattern)
    : pattern(std::move(headingPattern)),
      nextSample(kSampleAt),
      openNext(kNone),
      openBlock(kNone),
      openSecond(kNone) {}

// Takes samples at distances that double.
void Survey::Sample(std::string_view piece) {
  if (result.beginning.size() < kBeginningSize) {
    result.beginning.append(piece.substr(0, kBeginningSize - result.beginning.size()));
  }
  while (nextSample < result.lines.bytes + piece.size()) {
    const auto at = static_cast<size_t>(nextSample - std::min(nextSample, result.lines.bytes));
    const size_t begin = piece.find('\n', at);
    if (begin != std::string_view::npos && result.sample.size() < kMostSamples) {
      const size_t end = piece.rfind('\n', std::min(begin + kSampleSize, piece.size() - 1));
      if (end > begin) result.sample.append(piece.substr(begin + 1, end - begin));
    }
    nextSample *= 2;
  }
}

void Survey::Feed(std::string_view piece) {
  Sample(piece);
  result.lines.bytes += piece.size();
  if (partialBytes > 0) {
    const size_t end = std::min(piece.find('\n'), piece.size());
    if (partial.size() < kHeadBytes) partial.append(piece.substr(0, std::min(end, kHeadBytes)));
    partialBytes += end;
    if (end == piece.size()) return;
    const std::string line = std::move(partial);
    partial.clear();
    TakeLine(line);
    offset += partialBytes + 1;
    partialBytes = 0;
    piece.remove_prefix(end + 1);
  }
  while (!piece.empty()) {
    const auto* end = static_cast<const char*>(std::memchr(piece.data(), '\n', piece.size()));
    if (end == nullptr) {
      partial = piece.substr(0, kHeadBytes);
      partialBytes = piece.size();
      return;
    }
    const auto length = static_cast<size_t>(end - piece.data());
    TakeLine(piece.substr(0, length));
    offset += length + 1;
    piece.remove_prefix(length + 1);
  }
}

SurveyResult Survey::Finish() {
  if (partialBytes > 0) TakeLine(partial);
  CloseBlock();
  result.textLines = textLine;
  result.endTextLine = std::min(result.endTextLine, textLine);
  return std::move(result);
}

void Survey::TakeLine(std::string_view line) {
  ++result.lines.lines;
  const std::string_view head = WithoutBlanksBefore(line);
  if (head.empty()) {
    TakeBlank();
    ++lineNumber;
    return;
  }
  Line read{WithoutBlanksBehind(head), {}, 0, line.size(), 0};
  read.tail = read.head;
  read.indent = CountCharacters(line.substr(0, line.size() - head.size()));
  read.characters = CountCharacters(read.head);
  if (lineNumber < kMeasuredLines) Measure(read);
  FillNext(read);
  if (IsRule(read.head) && !pattern) {
    TryUnderlined(read);
  } else if (CanBegin(read)) {
    TryHeading(read);
  } else if (inList) {
    ListEntry(read, nullptr);
  }
  NoteShort(read);
  previousLength = read.characters;
  previousEndsSentence = MayEndSentence(read.tail);
  blanks = 0;
  ++lineNumber;
  ++textLine;
}

void Survey::TakeBlank() {
  if (blanks++ == 0) CloseBlock();
}

void Survey::Measure(const Line& line) {
  LineStatistics& lines = result.lines;
  ++lines.textLines;
  ++lines.widths[std::min(line.characters, LineStatistics::kWidest)];
  const bool follows = blanks == 0 && textLine > 0;
  if (follows) ++lines.followers;
  if (line.indent > 0) ++lines.indented;
  if (follows && line.indent > 0) ++lines.followersIndented;
  if (follows && !previousEndsSentence && previousLength > kShortLine / 3) {
    ++lines.unfinished;
    if (IsCapital(FirstOf(line.head))) ++lines.unfinishedCapitals;
  }
  const bool isWide = line.characters * 2 < line.head.size();
  const size_t halfLine = isWide ? kShortLine / 4 : kShortLine / 2;
  if (blanks == 1 && !previousEndsSentence && previousLength > halfLine) {
    ++lines.unfinishedBehindBlank;
  }
  if (line.tail.ends_with('-') && !line.tail.ends_with("--")) ++lines.hyphens;
  if (isWide) {
    ++lines.wide;
    if (HasAozoraNote(line.head) || HasReading(line.head)) ++lines.aozora;
  }
  if (!isWide && LooksLikeCode(line.head, line.tail)) ++lines.code;
  const Census census = CensusOf(line.head);
  if (!isWide && LooksLikeRecord(line.head, census)) ++lines.records;
  if (LooksTechnical(census)) ++lines.technical;
}

void Survey::FillNext(const Line& line) {
  if (openSecond != kNone) {
    if (blanks == 0)
      result.candidates[openSecond].secondLength = Saturated(line.characters);
    else
      result.candidates[openSecond].surrounding |= Candidate::kNextStandsAlone;
    openSecond = kNone;
  }
  if (openNext == kNone) return;
  Candidate& candidate = result.candidates[openNext];
  candidate.blanksBehind = Saturated(blanks);
  candidate.nextLength = Saturated(line.characters);
  const char32_t first = FirstOf(line.head);
  const char32_t last = LastOf(line.head);
  int is = 0;
  if (HasCapitalsOnly(line.head.substr(0, 200))) is |= Candidate::kNextIsCapitals;
  if (std::u32string_view(U".!?:;,\"”。！？：；，」』…").find(last) != std::u32string_view::npos) {
    is |= Candidate::kNextEndsSentence;
  }
  if (IsSmall(first) ||
      std::u32string_view(U"\"“‘「『„«'—[").find(first) != std::u32string_view::npos) {
    is |= Candidate::kNextIsNoTitle;
  }
  candidate.surrounding = static_cast<std::uint8_t>(candidate.surrounding | is);
  openSecond = openNext;
  openNext = kNone;
}

void Survey::CloseBlock() {
  if (openBlock == kNone) return;
  for (size_t i = openBlock; i < result.candidates.size(); ++i) {
    result.candidates[i].blockLines = Saturated(lineNumber - result.candidates[i].line);
  }
  openBlock = kNone;
}

// A cheap look: most lines of wrapped prose end here.
bool Survey::CanBegin(const Line& line) const {
  if (line.bytes > kLongestHeadingLine || line.characters > 180) return false;
  const auto first = static_cast<unsigned char>(line.head.front());
  if (blanks == 0 && !previousEndsSentence && previousLength > kShortLine && first < 0x80)
    return false;
  return true;
}

// A list ends where it is named again what it began with, after a pause, or with prose.
bool Survey::IsEndOfList(const Line& line, const HeadingLine* heading, std::uint64_t hash) const {
  const bool isWide = line.characters * 2 < line.head.size();
  if (line.characters > (isWide ? kLongestListEntry / 2 : kLongestListEntry)) return true;
  if (listEntries < 2) return false;
  if (blanks > std::max<size_t>(listLongestPause + 1, 3)) return true;
  if (hash != 0 && std::find(listFirst.begin(), listFirst.end(), hash) != listFirst.end())
    return true;
  return heading != nullptr && heading->form != HeadingLine::Form::kNamed && !listAtVolume &&
         KindOf(heading->part.unit, heading->detail) == listKind &&
         heading->part.number < listNumber;
}

// Learns what a list of contents names.
void Survey::ListEntry(const Line& line, const HeadingLine* heading) {
  const std::uint64_t hash = LettersHash(line.head.substr(heading == nullptr ? 0 : heading->body));
  if (listed.size() > kMostListEntries || IsEndOfList(line, heading, hash)) {
    inList = false;
    return;
  }
  if (listEntries > 0) listLongestPause = std::max(listLongestPause, blanks);
  if (hash == 0) return;
  if (listEntries < listFirst.size()) listFirst[listEntries] = hash;
  ++listEntries;
  const bool isNumbered = heading != nullptr && heading->form != HeadingLine::Form::kNamed;
  listAtVolume = isNumbered && RankOf(heading->part.unit) == Rank::kVolume;
  if (isNumbered && !listAtVolume) {
    listKind = KindOf(heading->part.unit, heading->detail);
    listNumber = heading->part.number;
  }
  result.listLines.push_back({lineNumber, textLine});
  listed.emplace(hash, static_cast<std::int32_t>(result.listLines.size()));
  if (isNumbered && heading->title < line.head.size()) {
    const std::uint64_t title = LettersHash(line.head.substr(heading->title));
    if (title != 0) listed.emplace(title, 0);
  }
}

bool Survey::IsBeginOfBook(const Line& line) {
  if (!line.head.starts_with("***")) return false;
  const std::string_view text = WithoutBlanksBefore(line.head.substr(3));
  const bool isMark = line.head.find("PROJECT GUTENBERG") != std::string_view::npos;
  if (!isMark) return false;
  if (text.starts_with("START") && result.firstLine == 0) {
    result.firstLine = lineNumber + 1;
    result.firstTextLine = textLine + 1;
    result.candidates.clear();
    openNext = openBlock = openSecond = kNone;
    inList = false;
    listed.clear();
    result.listLines.clear();
    result.listTitles.clear();
    return true;
  }
  if (text.starts_with("END") && result.endLine == UINT32_MAX) {
    result.endLine = lineNumber;
    result.endTextLine = textLine;
    return true;
  }
  return false;
}

void Survey::TryHeading(const Line& line) {
  if (IsBeginOfBook(line) || result.endLine != UINT32_MAX) return;
  if (pattern) {
    if (pattern(line.head, lineNumber)) AddCandidate(line, {}, KindOf(kMarkedUnit, 0));
    return;
  }
  if (const int level = AozoraHeadingLevel(line.head); level >= 0) {
    AddCandidate(line, {}, KindOf(kMarkedUnit, static_cast<std::uint16_t>(level)));
    return;
  }
  HeadingLine heading;
  const bool isHeading = ReadHeadingLine(line.head, heading);
  const bool wasInList = inList;
  if (inList) ListEntry(line, isHeading ? &heading : nullptr);

  if (isHeading && heading.place == NamedPlace::kContents) {
    inList = true;
    result.listTitles.push_back({lineNumber, textLine});
    listEntries = 0;
    listLongestPause = 0;
    listKind = 0;
    listAtVolume = false;
    listFirst = {};
    return;
  }
  const bool isInside = wasInList && inList;
  const auto found = isInside || listed.empty() || line.characters > kLongestListEntry
                         ? listed.end()
                         : listed.find(LettersHash(line.head));
  constexpr std::u32string_view kNoBeginnings = U"\"“‘「『„«[";
  const bool isListed =
      found != listed.end() && kNoBeginnings.find(FirstOf(line.head)) == std::u32string_view::npos;
  std::uint32_t kind = 0;
  if (isHeading) {
    kind = heading.form == HeadingLine::Form::kNamed
               ? KindOf(kNoUnit, static_cast<std::uint16_t>(heading.place))
               : KindOf(heading.part.unit, heading.detail);
  } else if (isListed) {
    heading.form = HeadingLine::Form::kNamed;
    heading.part.number = found->second;
    kind = KindOf(kListedUnit, 0);
  } else if (blanks >= 2 && line.characters <= kLongestSetApart && HasCapitalsOnly(line.head)) {
    heading.form = HeadingLine::Form::kNamed;
    kind = KindOf(kSetApartUnit, 0);
  } else {
    return;
  }
  AddCandidate(line, heading, kind);
  if (isListed && !result.candidates.empty())
    result.candidates.back().surrounding |= Candidate::kIsListed;
  if (isInside && !result.candidates.empty())
    result.candidates.back().surrounding |= Candidate::kInsideList;
}

// Keeps a line that can turn out to be underlined.
void Survey::NoteShort(const Line& line) {
  constexpr size_t kLongest = 70;
  shortLine.clear();
  const bool isFirst = textLine == 0;
  if ((blanks == 0 && !isFirst) || line.characters > kLongest) return;
  const bool hasGap = line.head.find("  ") != std::string_view::npos ||
                      line.head.find_first_of("\t|") != std::string_view::npos;
  if (hasGap ||
      std::u32string_view(U".,;。，；").find(LastOf(line.head)) != std::u32string_view::npos)
    return;
  shortLine = line.head;
  shortPlace = {};
  shortPlace.offset = offset;
  shortPlace.line = lineNumber;
  shortPlace.textLine = textLine;
  shortPlace.kind = KindOf(kUnderlinedUnit, 0);
  shortPlace.titleHash = static_cast<std::uint32_t>(LettersHash(line.head));
  shortPlace.form = HeadingLine::Form::kNamed;
  shortPlace.surrounding = Candidate::kSentenceBefore;
  shortPlace.indent = Saturated(line.indent);
  shortPlace.length = Saturated(line.characters);
  shortPlace.blanksBefore = Saturated(isFirst ? 9 : blanks);
}

// A rule as long as the short line above it.
void Survey::TryUnderlined(const Line& rule) {
  constexpr size_t kNear = 2;
  if (blanks > 0 || shortLine.empty() || inList) return;
  if (result.endLine != UINT32_MAX || shortPlace.titleHash == 0) return;
  const size_t characters = CountCharacters(shortLine);
  const bool isWide = characters * 2 < shortLine.size();  // such characters are two signs wide
  if (rule.characters + kNear < characters ||
      rule.characters > characters * (isWide ? 2 : 1) + kNear) {
    return;
  }
  auto& candidates = result.candidates;
  if (candidates.empty() || candidates.back().line != shortPlace.line) {
    if (candidates.size() >= kMostCandidates) return;
    candidates.push_back(shortPlace);
  }
  candidates.back().underline = rule.head.front();
}

void Survey::AddCandidate(const Line& line, const HeadingLine& heading, std::uint32_t kind) {
  if (result.candidates.size() >= kMostCandidates) return;
  Candidate candidate;
  candidate.offset = offset;
  candidate.line = lineNumber;
  candidate.textLine = textLine;
  candidate.kind = kind;
  candidate.number = heading.part.number;
  if (heading.outer.unit != kNoUnit) candidate.outerKind = KindOf(heading.outer.unit, 0);
  candidate.outerNumber = heading.outer.number;
  candidate.titleHash = static_cast<std::uint32_t>(
      LettersHash(line.head.substr(std::min(heading.title, line.head.size()))));
  candidate.flags = heading.flags;
  candidate.form = heading.form;
  candidate.place = heading.place;
  const bool isAfterShort = previousEndsSentence || previousLength < kShortLine;
  candidate.surrounding = isAfterShort ? Candidate::kSentenceBefore : 0;
  candidate.indent = Saturated(line.indent);
  candidate.length = Saturated(line.characters);
  candidate.blanksBefore = Saturated(textLine == 0 ? 9 : blanks);
  const size_t index = result.candidates.size();
  result.candidates.push_back(candidate);
  openNext = index;
  if (openBlock == kNone || blanks > 0) openBlock = index;
}
