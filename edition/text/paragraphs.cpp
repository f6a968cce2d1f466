// Puts lines together, or leaves them apart, by how they fill their width.
#include "edition/text/paragraphs.h"

#include <algorithm>
#include <cmath>

#include "edition/text/aozora.h"
#include "edition/text/characters.h"
#include "edition/text/markup.h"
#include "edition/text/numerals.h"

namespace {

constexpr size_t kMostBlockLines = 400;  // a longer block is ended there
constexpr size_t kMostBlockBytes = size_t{1} << 15;
constexpr size_t kMostVerbatimLines = 60;
constexpr size_t kMostIndentSteps = 9;

constexpr std::u32string_view kBreakSigns = U"*＊#＃-－—–─━_＿=＝~～•·◆◇○●☆★※§+⁂✻∗◎□■△▲▽▼♦❖.…";
constexpr std::u32string_view kPlainSigns = U"-－—–─━_＿=＝~～·.…+○●";  // one or two may be text
constexpr std::u32string_view kClosing = U"，。！？；：、」』）】》〉”’…,.;:!?)";
constexpr std::u32string_view kEndsOfParagraphs = U"。！？；：」』）】》…”’—.!?:;\"')*_～~";

// A line of signs between two scenes.
bool IsBreak(std::string_view text) {
  constexpr size_t kLongest = 240;
  if (text.empty() || text.size() > kLongest) return false;
  size_t signs = 0;
  bool isPlain = true;
  for (size_t i = 0; i < text.size();) {
    const Character c = CharacterAt(text, i);
    i += c.length;
    if (IsBlank(c.code)) continue;
    if (kBreakSigns.find(c.code) == std::u32string_view::npos) return false;
    if (c.code == '.' || c.code == U'…') return false;
    isPlain = isPlain && kPlainSigns.find(c.code) != std::u32string_view::npos;
    ++signs;
  }
  return signs >= (isPlain ? 3U : 1U);
}

// Three blanks in a row: one of them is at every third place.
bool HasGap(std::string_view text) {
  for (size_t i = 2; i < text.size(); i += 3) {
    if (text[i] != ' ') continue;
    const size_t begin = i - 2;
    if (text.substr(begin, 5).find("   ") != std::string_view::npos) return true;
  }
  return false;
}

// Columns of a table: cells with three blanks and more between them, or bars.
bool HasCells(std::string_view text) {
  const bool hasSigns =
      text.find('|') != std::string_view::npos || text.find('\t') != std::string_view::npos;
  if (!hasSigns && !HasGap(text)) return false;  // as most lines
  size_t cells = 1;
  size_t run = 0;
  size_t bars = 0;
  for (const char c : text) {
    if (c == '|') ++bars;
    if (c == '\t') run += 3;
    if (c == ' ') {
      ++run;
      continue;
    }
    if (run >= 3) ++cells;
    if (c != '\t') run = 0;
  }
  return cells >= 2 || bars >= 2;
}

constexpr std::u32string_view kDashes = U"-–—";  // begin speech, too
constexpr std::u32string_view kBullets = U"*+•‣◦▪-–—";

// "1." of an item of a list, or a bullet; 0 where a line begins with neither.
size_t ItemMarkLength(std::string_view text) {
  constexpr size_t kMostDigits = 2;
  const size_t digits = ReadDigits(text).length;
  size_t length = digits;
  if (digits > 0 && digits <= kMostDigits) {
    if (length == text.size() || (text[length] != '.' && text[length] != ')')) return 0;
    ++length;
  } else if (digits == 0 && !text.empty() &&
             kBullets.find(FirstOf(text)) != std::u32string_view::npos) {
    length = CharacterAt(text, 0).length;
  } else {
    return 0;
  }
  if (length >= text.size() || text[length] != ' ') return 0;
  const char32_t next = FirstOf(WithoutBlanksBefore(text.substr(length)));
  return kBullets.find(next) == std::u32string_view::npos ? length : 0;
}

bool IsShouted(std::string_view text) {
  for (size_t i = 0; i < text.size(); i += CharacterAt(text, i).length) {
    if (IsSmall(CharacterAt(text, i).code)) return false;
  }
  return true;
}

std::string_view FirstWord(std::string_view text) {
  return text.substr(0, std::min(text.find(' '), text.size()));
}

}  // namespace

// ----------------------------------------------------------------------------------- line by line

Status Paragraphs::AddLine(std::string_view line, bool isContinued) {
  if (layout.style == ParagraphStyle::kVerbatim) {
    block.append(line) += '\n';
    const bool isFull = ++blockLines >= kMostVerbatimLines || block.size() > kMostBlockBytes;
    return isFull ? Flush() : Done();
  }
  if (layout.style == ParagraphStyle::kWrapped) {
    const size_t feed = line.find('\f');
    if (feed != std::string_view::npos) {  // a page ends
      if (feed > 0) {
        if (Status status = AddLine(line.substr(0, feed), isContinued); !status) return status;
      }
      if (Status status = Flush(); !status) return status;
      return AddLine(line.substr(feed + 1), false);
    }
    blanks = 0;
    block.append(line) += '\n';
    const bool isFull = ++blockLines >= kMostBlockLines || block.size() > kMostBlockBytes;
    return isFull ? Flush() : Done();
  }
  if (isContinued) {
    if (Status status = Flush(); !status) return status;
  }
  while (!line.empty()) {
    const size_t feed = std::min(line.find('\f'), line.size());
    const std::string_view part = Trimmed(line.substr(0, feed));
    line.remove_prefix(std::min(feed + 1, line.size()));
    if (part.empty()) continue;
    if (Status status = AddParagraphLine(part); !status) return status;
  }
  return Done();
}

Status Paragraphs::AddBlank() {
  ++blanks;
  if (layout.style == ParagraphStyle::kVerbatim) {
    if (blockLines > 0) block += '\n';
    return Done();
  }
  if (layout.isSpaced && blanks < 2) return Done();
  return layout.style == ParagraphStyle::kLine && isOpen ? Done() : Flush();
}

Status Paragraphs::Flush() {
  if (isOpen) {
    isOpen = false;
    return WriteParagraph("");
  }
  if (blockLines == 0) return Done();
  Status status = layout.style == ParagraphStyle::kVerbatim
                      ? WritePre("code", std::string_view(block).substr(0, block.size() - 1))
                      : WriteLines(LinesOfBlock());
  block.clear();
  blockLines = 0;
  blanks = 0;
  return status;
}

// A paragraph that a line cut within a sentence: the next line begins with what cannot begin one.
bool Paragraphs::GoesOn(std::string_view next) const {
  const char32_t last = LastOf(paragraph);
  const bool isUnfinished = kEndsOfParagraphs.find(last) == std::u32string_view::npos;
  return layout.isWide && isUnfinished && kClosing.find(FirstOf(next)) != std::u32string_view::npos;
}

Status Paragraphs::AddParagraphLine(std::string_view line) {
  if (isOpen && GoesOn(line)) {
    paragraph.append(line);
    return Done();
  }
  const size_t blanksBefore = blanks;
  if (Status status = Flush(); !status) return status;
  blanks = 0;
  if (IsBreak(line)) return WriteBreak(line);
  if (layout.isAozora) return AddAozoraLine(line);
  if (blanksBefore > 0 && layout.hasPauses && !isFirst) {
    isBehindPause = true;
  }
  paragraph = line;
  isOpen = true;
  return Done();
}

Status Paragraphs::AddAozoraLine(std::string_view line) {
  std::string clean(line);
  DropControls(clean);
  AozoraLine read = ReadAozoraLine(clean);
  if (read.indentation >= 0) indentation = static_cast<size_t>(read.indentation);
  paragraph = std::move(read.text);
  if (Trimmed(paragraph).empty()) return Done();
  return WriteParagraph(read.isRight ? "right" : indentation > 0 ? "indent" : "");
}

// --------------------------------------------------------------------------------- block by block

std::vector<Paragraphs::Line> Paragraphs::LinesOfBlock() const {
  std::vector<Line> lines;
  std::string_view rest = block;
  while (!rest.empty()) {
    const size_t end = rest.find('\n');
    const std::string_view line = rest.substr(0, end);
    rest.remove_prefix(end + 1);
    const std::string_view text = WithoutBlanksBefore(line);
    size_t indent = 0;
    for (const char c : line.substr(0, line.size() - text.size())) {
      indent += c == '\t' ? 8 : (static_cast<unsigned char>(c) & 0xC0U) != 0x80U ? 1 : 0;
    }
    const std::string_view trimmed = WithoutBlanksBehind(text);
    if (!trimmed.empty()) lines.push_back({trimmed, indent, CountCharacters(trimmed)});
  }
  return lines;
}

// Whether lines end where their writer wanted it: the next word would have had room.
bool Paragraphs::BreaksByHand(const std::vector<Line>& lines) const {
  if (lines.size() < 2) return false;
  size_t roomy = 0;
  size_t capitals = 0;
  bool isShouted = true;
  for (size_t i = 0; i + 1 < lines.size(); ++i) {
    const Line& next = lines[i + 1];
    const size_t word = layout.isWide ? 1 : CountCharacters(FirstWord(next.text)) + 1;
    const size_t used =
        lines[i].width + (layout.isWide ? lines[i].indent : lines.front().indent) + word;
    roomy += used * 100 < layout.width * 86 ? 1 : 0;
    const char32_t first = FirstOf(next.text);
    capitals += IsSmall(first) ? 0 : 1;
    isShouted = isShouted && IsShouted(next.text);
  }
  const size_t ends = lines.size() - 1;
  if (roomy * 10 >= ends * 8) return true;
  if (layout.isWide) return false;
  if (roomy * 2 >= ends && capitals * 10 >= ends * 8) return true;
  // Prose begins so many lines with capitals by chance only.
  constexpr double kHardly = 0.003;
  constexpr double kShareOfVerse = 0.75;
  if (isShouted || capitals * 10 < ends * 9) return false;
  if (layout.shareOfCapitals > kShareOfVerse) return true;
  return roomy > 0 && std::pow(layout.shareOfCapitals, static_cast<double>(ends)) < kHardly;
}

bool Paragraphs::IsCentered(const Line& line) const {
  if (line.indent < 8 || line.indent + line.width > layout.width + 8) return false;
  const size_t right =
      layout.width > line.indent + line.width ? layout.width - line.indent - line.width : 0;
  const size_t difference = right > line.indent ? right - line.indent : line.indent - right;
  return difference <= 10;
}

// What a block of lines is, of scripts that have blanks between words.
Paragraphs::Shape Paragraphs::ShapeOf(const std::vector<Line>& lines) const {
  const auto cells = std::count_if(lines.begin(), lines.end(),
                                   [](const Line& line) { return HasCells(line.text); });
  if (lines.size() > 1 && cells * 5 >= static_cast<std::ptrdiff_t>(lines.size()) * 3) {
    return Shape::kTable;
  }
  if (std::all_of(lines.begin(), lines.end(),
                  [this](const Line& line) { return IsCentered(line); })) {
    return Shape::kCentered;
  }
  if (std::all_of(lines.begin(), lines.end(),
                  [this](const Line& line) { return line.indent * 3 > layout.width; })) {
    return Shape::kRight;
  }
  if (ItemMarkLength(lines.front().text) > 0) return Shape::kItems;
  const bool isQuoted = std::all_of(lines.begin(), lines.end(),
                                    [](const Line& line) { return line.text.starts_with('>'); });
  return isQuoted || BreaksByHand(lines) ? Shape::kVerse : Shape::kProse;
}

Status Paragraphs::WriteLines(const std::vector<Line>& lines) {
  if (lines.empty()) return Done();
  if (lines.size() == 1 && IsBreak(lines.front().text)) return WriteBreak(lines.front().text);
  if (layout.isWide) {
    const bool isByLines = !layout.isSpaced && BreaksByHand(lines);
    return isByLines ? WriteEach(lines) : WriteParagraphs(lines);
  }
  switch (ShapeOf(lines)) {
    case Shape::kTable:
      return WritePre("table", std::string_view(block).substr(0, block.size() - 1));
    case Shape::kCentered:
      return WriteAsSet(lines, "center");
    case Shape::kRight:
      return WriteAsSet(lines, "right");
    case Shape::kItems:
      return WriteItems(lines);
    case Shape::kVerse:
      return WriteVerse(lines);
    default:
      return WriteParagraphs(lines);
  }
}

Status Paragraphs::WriteBreak(std::string_view signs) {
  paragraph = signs;
  Status status = WriteParagraph("break");
  isFirst = true;
  return status;
}

Status Paragraphs::WriteEach(const std::vector<Line>& lines) {
  for (const Line& line : lines) {
    paragraph = line.text;
    if (Status status = WriteParagraph(""); !status) return status;
  }
  return Done();
}

Status Paragraphs::WriteAsSet(const std::vector<Line>& lines, std::string_view type) {
  paragraph.clear();
  for (const Line& line : lines) {
    if (!paragraph.empty()) paragraph += static_cast<char>(Mark::kLineBreak);
    std::string text(line.text);
    DropControls(text);
    paragraph += text;
  }
  return WriteParagraph(type);
}

// Paragraphs of one block begin where a line is indented more than those around it.
Status Paragraphs::WriteParagraphs(const std::vector<Line>& lines) {
  const size_t base =
      std::min_element(lines.begin(), lines.end(), [](const Line& a, const Line& b) {
        return a.indent < b.indent;
      })->indent;
  const bool isQuotation = !layout.isWide && !layout.isIndented && base >= 2;
  const Line* begin = lines.data();
  const Line* const end = lines.data() + lines.size();
  while (begin != end) {
    const Line* next = begin + 1;
    while (next != end && !(layout.isIndented && next->indent > base)) ++next;
    if (Status status = WriteProse(begin, next, isQuotation); !status) return status;
    begin = next;
  }
  return Done();
}

Status Paragraphs::WriteVerse(const std::vector<Line>& lines) {
  const size_t base =
      std::min_element(lines.begin(), lines.end(), [](const Line& a, const Line& b) {
        return a.indent < b.indent;
      })->indent;
  std::string& markup = writer.Markup();
  markup += "<div class=\"verse\">";
  for (const Line& line : lines) {
    const size_t steps = std::min((line.indent - base + 1) / 2, kMostIndentSteps);
    markup += steps == 0 ? "<p>" : "<p class=\"i" + std::to_string(steps) + "\">";
    std::string text(line.text);
    DropControls(text);
    MarkEmphasis(text);
    AppendMarkup(text, markup);
    markup += "</p>";
  }
  markup += "</div>\n";
  isFirst = false;
  return writer.EndBlock();
}

// Each item is a paragraph, whose further lines may be indented.
Status Paragraphs::WriteItems(const std::vector<Line>& lines) {
  const Line* begin = lines.data();
  const Line* const end = lines.data() + lines.size();
  const bool isNumbered = ReadDigits(begin->text).length > 0;
  const bool isSpeech = kDashes.find(FirstOf(begin->text)) != std::u32string_view::npos;
  int number = ReadDigits(begin->text).value;
  while (begin != end) {
    const Line* next = begin + 1;
    const auto isItem = [&](const Line& line) {
      if (ItemMarkLength(line.text) == 0) return false;
      const Numeral itsNumber = ReadDigits(line.text);
      return isNumbered ? itsNumber && itsNumber.value == number + 1 : !itsNumber;
    };
    while (next != end && !isItem(*next)) ++next;
    paragraph = begin->text;
    for (const Line* line = begin + 1; line != next; ++line) JoinLine(line->text);
    if (Status status = WriteParagraph(isSpeech ? "" : "item"); !status) return status;
    ++number;
    begin = next;
  }
  return Done();
}

Status Paragraphs::WritePre(std::string_view type, std::string_view text) {
  std::string clean;
  clean.reserve(text.size());
  for (const char c : text) {
    if (c == '\t' || c == '\n' || c < 0 || c >= ' ') clean += c;
  }
  while (clean.ends_with('\n')) clean.pop_back();
  std::string& markup = writer.Markup();
  markup.append("<pre class=\"").append(type).append("\">");
  AppendMarkup(clean, markup);
  markup += "</pre>\n";
  isFirst = false;
  return writer.EndBlock();
}

Status Paragraphs::WriteProse(const Line* begin, const Line* end, bool isQuotation) {
  paragraph = begin->text;
  for (const Line* line = begin + 1; line != end; ++line) JoinLine(line->text);
  if (!isQuotation) return WriteParagraph("");
  writer.Markup() += "<blockquote>";
  return WriteParagraph("quoted");
}

// A hyphen at the end of a line is kept in a word that has one elsewhere, too.
void Paragraphs::JoinLine(std::string_view next) {
  const char32_t last = LastOf(paragraph);
  if (layout.isWide && (IsWide(last) || IsWide(FirstOf(next)))) {
    paragraph.append(next);
    return;
  }
  if (last == '-' && paragraph.size() > 1 && IsSmall(FirstOf(next))) {
    const char32_t before = LastOf(WithoutLast(paragraph));
    if (IsLetter(before)) {
      size_t begin = paragraph.size() - 1;
      while (begin > 0 && paragraph[begin - 1] != ' ' && paragraph[begin - 1] != '-') --begin;
      size_t length = 0;
      while (length < next.size() && IsLetter(CharacterAt(next, length).code)) {
        length += CharacterAt(next, length).length;
      }
      std::string_view head = std::string_view(paragraph).substr(begin);
      while (!head.empty() && !IsLetter(FirstOf(head))) head = WithoutFirst(head);
      head = WithoutLast(head);
      const std::string whole = std::string(head) + std::string(next.substr(0, length));
      const std::string hyphened = std::string(head) + "-" + std::string(next.substr(0, length));
      if (!words.Has(hyphened) && words.Has(whole)) paragraph.pop_back();
    }
    paragraph.append(next);
    return;
  }
  const bool isDash = last == U'—' || paragraph.ends_with("--");
  const bool isHyphen =
      last == '-' && paragraph.size() > 1 && IsLetter(LastOf(WithoutLast(paragraph)));
  const bool isTight =
      (isDash || isHyphen) && !paragraph.ends_with(" --") && !paragraph.ends_with(" —");
  if (!isTight) paragraph += ' ';
  paragraph.append(next);
}

// How the paragraph is set where it belongs to a title page; empty from the first one on that does
// not.
std::string_view Paragraphs::TypeOnTitlePage() {
  constexpr size_t kLongest = 60;
  constexpr std::u32string_view kEnds = U".。！？…”」』";
  const std::string_view text = Trimmed(paragraph);
  const std::uint64_t letters = LettersHash(text);
  if (letters != 0 && letters == LettersHash(facts->title)) return "title";
  const bool isShort = CountCharacters(text) <= (layout.isWide ? kLongest / 2 : kLongest);
  const bool namesAuthor =
      std::any_of(facts->contributors.begin(), facts->contributors.end(),
                  [text](const Contributor& contributor) {
                    return FoldedText(text).find(FoldedText(contributor.name)) != std::string::npos;
                  });
  constexpr std::ptrdiff_t kMostBlanks = 5;
  const bool isFew = std::count(text.begin(), text.end(), ' ') <= kMostBlanks;
  const bool isPlain = kEnds.find(LastOf(text)) == std::u32string_view::npos ||
                       (!layout.isWide && (isFew || IsShouted(text)));
  if (isShort && (namesAuthor || (isAnyOnTitlePage && isPlain))) return "center";
  isTitlePage = false;
  return "";
}

Status Paragraphs::WriteParagraph(std::string_view type) {
  // Lines that are set as they are, and those of Aozora texts, have their marks by now.
  if (!layout.isAozora && type != "center" && type != "right") DropControls(paragraph);
  if (isTitlePage && type.empty()) type = TypeOnTitlePage();
  std::string& markup = writer.Markup();
  if (!layout.isAozora) {
    if (!layout.isWide && type != "break") MarkEmphasis(paragraph);
  }
  const bool isQuoted = type == "quoted";
  std::string_view name = isQuoted ? "" : type;
  if (type.empty() && isFirst) name = "first";
  if (type.empty() && !isFirst && isBehindPause) name = "gap";
  isBehindPause = false;
  if (name.empty()) {
    markup += "<p>";
  } else {
    markup.append("<p class=\"").append(name).append("\">");
  }
  AppendMarkup(paragraph, markup);
  markup += isQuoted ? "</p></blockquote>\n" : "</p>\n";
  paragraph.clear();
  if (type != "right" && type != "center" && type != "title") isFirst = false;
  return writer.EndBlock();
}
