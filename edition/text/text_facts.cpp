// Knows how those who type books write down what they are.
#include "edition/text/text_facts.h"

#include <algorithm>
#include <array>
#include <vector>

#include "edition/text/characters.h"
#include "edition/text/heading_line.h"
#include "edition/text/language.h"

namespace {

constexpr size_t kMostLines = 120;
constexpr size_t kTitleLines = 30;
constexpr size_t kLongestTitle = 90;  // characters
constexpr size_t kLongestWideFirstLine = 24;
constexpr size_t kLongestAuthor = 60;

struct TextLine {
  std::string_view text;
  bool isIndented;
  bool isBehindBlank;
};

std::vector<TextLine> FirstLines(std::string_view beginning) {
  std::vector<TextLine> lines;
  bool isBehindBlank = true;
  while (!beginning.empty() && lines.size() < kMostLines) {
    const size_t end = std::min(beginning.find('\n'), beginning.size());
    const std::string_view line = beginning.substr(0, end);
    beginning.remove_prefix(std::min(end + 1, beginning.size()));
    const std::string_view text = Trimmed(line);
    if (!text.empty()) lines.push_back({text, text.data() != line.data(), isBehindBlank});
    isBehindBlank = text.empty();
  }
  return lines;
}

// "Title: Moby-Dick": the value of a field, empty for other lines.
std::string_view FieldOf(std::string_view line, std::string_view name) {
  if (line.size() <= name.size() || FoldedText(line.substr(0, name.size())) != name) return {};
  std::string_view rest = WithoutBlanksBefore(line.substr(name.size()));
  if (!rest.starts_with(":") && !rest.starts_with("：")) return {};
  return Trimmed(WithoutFirst(rest));
}

bool EndsWithAny(std::string_view& text, std::initializer_list<std::string_view> ends) {
  for (const std::string_view end : ends) {
    if (!text.ends_with(end)) continue;
    text = WithoutBlanksBehind(text.substr(0, text.size() - end.size()));
    return true;
  }
  return false;
}

// ----------------------------------------------------------------------------------- what is named

constexpr std::string_view kEnglishMonths[] = {"january",   "february", "march",    "april",
                                               "may",       "june",     "july",     "august",
                                               "september", "october",  "november", "december"};

// "October 31, 1993", "June, 2001", "1992", "2001-06-01": as W3C's dates.
std::string DateOf(std::string_view text) {
  text = Trimmed(text.substr(0, text.find('[')));
  std::string year;
  std::string day;
  std::string month;
  for (size_t i = 0; i < text.size();) {
    size_t digits = 0;
    while (i + digits < text.size() && IsDigit(static_cast<unsigned char>(text[i + digits])))
      ++digits;
    if (digits == 4) year = text.substr(i, 4);
    if (digits == 1 || digits == 2)
      (year.empty() || !month.empty() ? day : month) = text.substr(i, digits);
    i += std::max<size_t>(digits, 1);
  }
  const std::string folded = FoldedText(text);
  for (size_t i = 0; i < std::size(kEnglishMonths); ++i) {
    if (folded.find(kEnglishMonths[i]) != std::string::npos) month = std::to_string(i + 1);
  }
  std::string date = year;
  for (const std::string& part : {month, day}) {
    std::string finer = date + (part.size() < 2 ? "-0" : "-") + part;
    if (!IsDate(finer)) break;
    date = std::move(finer);
  }
  return date;
}

// Ten or thirteen digits whose check digit is right, without their hyphens.
std::string IsbnOf(std::string_view text) {
  std::string digits;
  for (const char c : text) {
    if (IsDigit(static_cast<unsigned char>(c)) || (c == 'X' && digits.size() == 9))
      digits += c;
    else if (c != '-' && c != ' ' && !digits.empty())
      break;
    if (digits.size() == 13) break;
  }
  int sum = 0;
  for (size_t i = 0; i < digits.size(); ++i) {
    const int digit = digits[i] == 'X' ? 10 : digits[i] - '0';
    sum += digits.size() == 13 ? digit * (i % 2 == 0 ? 1 : 3) : digit * (10 - static_cast<int>(i));
  }
  const bool isRight =
      (digits.size() == 13 && sum % 10 == 0) || (digits.size() == 10 && sum % 11 == 0);
  return isRight ? digits : std::string();
}

struct Role {
  std::string_view field;
  std::string_view role;
};
constexpr Role kRoles[] = {{"author", "aut"},
                           {"translator", "trl"},
                           {"editor", "edt"},
                           {"illustrator", "ill"},
                           {"contributor", "ctb"}};

void AddContributor(std::string_view name, std::string_view role, Metadata& facts) {
  name = Trimmed(name);
  if (name.empty() || CountCharacters(name) > kLongestAuthor) return;
  facts.contributors.push_back({std::string(name), "", std::string(role)});
}

bool HasAuthor(const Metadata& facts) {
  return std::any_of(facts.contributors.begin(), facts.contributors.end(),
                     [](const Contributor& c) { return c.role == "aut"; });
}

// "Title: ...", "Author: ..." and the like, with lines that go on.
void ReadFields(const std::vector<TextLine>& lines, Metadata& facts) {
  constexpr size_t kFieldLines = 60;
  for (size_t i = 0; i < std::min(lines.size(), kFieldLines); ++i) {
    const std::string_view line = lines[i].text;
    if (const std::string_view title = FieldOf(line, "title");
        !title.empty() && facts.title.empty()) {
      facts.title = title;
      const bool goesOn =
          i + 1 < lines.size() && lines[i + 1].isIndented && !lines[i + 1].isBehindBlank;
      if (goesOn && FoldedText(lines[i + 1].text).starts_with("or,")) {
        facts.title.append(facts.title.ends_with(';') ? " " : "; ").append(lines[i + 1].text);
      }
    }
    for (const Role& role : kRoles) {
      const std::string_view name = FieldOf(line, role.field);
      const bool isSecondAuthor = role.role == "aut" && HasAuthor(facts);
      if (!name.empty() && !isSecondAuthor && name.front() != '[')
        AddContributor(name, role.role, facts);
    }
    if (const std::string_view value = FieldOf(line, "language");
        !value.empty() && facts.language.empty()) {
      facts.language = LanguageOfName(value);
    }
    if (const std::string_view value = FieldOf(line, "release date"); !value.empty()) {
      facts.date = DateOf(value);
      const size_t number = line.find("[eBook #");
      if (number != std::string_view::npos) {
        const std::string_view digits = line.substr(number + 8);
        facts.identifiers.push_back({"URI", "https://www.gutenberg.org/ebooks/" +
                                                std::string(digits.substr(0, digits.find(']')))});
      }
    }
    if (const std::string_view value = FieldOf(line, "publisher"); !value.empty())
      facts.publisher = value;
    const size_t isbn = line.find("ISBN");
    if (isbn != std::string_view::npos) {
      const std::string_view behind = line.substr(isbn + 4);
      const size_t digits = behind.find_first_of("0123456789");
      size_t begin = digits;
      if (digits != std::string_view::npos && behind.substr(digits).starts_with("13:"))
        begin = digits + 3;
      if (digits != std::string_view::npos && behind.substr(digits).starts_with("10:"))
        begin = digits + 3;
      if (begin != std::string_view::npos) {
        if (std::string value = IsbnOf(behind.substr(begin)); !value.empty()) {
          facts.identifiers.push_back({"ISBN", std::move(value)});
        }
      }
    }
  }
}

// --------------------------------------------------------------------------------- wide characters

constexpr std::string_view kDynasties[] = {
    "明",   "清",   "元",   "宋",   "唐",   "漢",   "汉", "晉", "晋", "隋", "民國",
    "民国", "近代", "現代", "现代", "當代", "当代", "日", "美", "英", "法", "俄"};

// "清·雪樵主人編", "（明）吳承恩 著", "吴承恩（明） 著": the name of it.
std::string_view AuthorNameOf(std::string_view text) {
  text = Trimmed(text);
  EndsWithAny(text, {"編著", "编著", "編撰", "编撰", "原著", "著", "撰", "編", "编", "作", "述",
                     "輯", "辑", "手著"});
  for (const auto& [begin, end] : {std::pair<std::string_view, std::string_view>{"（", "）"},
                                   {"(", ")"},
                                   {"[", "]"},
                                   {"〔", "〕"},
                                   {"【", "】"}}) {
    if (text.starts_with(begin)) {
      const size_t close = text.find(end);
      if (close != std::string_view::npos && close < begin.size() + 12) {
        text = WithoutBlanksBefore(text.substr(close + end.size()));
      }
    }
    if (text.ends_with(end)) {
      const size_t open = text.rfind(begin);
      if (open != std::string_view::npos && open > 0)
        text = WithoutBlanksBehind(text.substr(0, open));
    }
  }
  for (const std::string_view dynasty : kDynasties) {
    if (!text.starts_with(dynasty)) continue;
    const std::string_view rest = text.substr(dynasty.size());
    const char32_t next = FirstOf(rest);
    constexpr std::u32string_view kJoiners = U"·.．・‧•:：朝代";
    if (IsBlank(next) || kJoiners.find(next) != std::u32string_view::npos) {
      text = Trimmed(WithoutFirst(rest));
      while (!text.empty() && kJoiners.find(FirstOf(text)) != std::u32string_view::npos) {
        text = Trimmed(WithoutFirst(text));
      }
    }
    break;
  }
  return text;
}

std::string_view WithoutTitleMarks(std::string_view text) {
  text = Trimmed(text);
  if (text.starts_with("《")) {
    const size_t end = text.find("》");
    if (end != std::string_view::npos) text = text.substr(3, end - 3);
  }
  return Trimmed(text);
}

bool IsWideTitle(std::string_view text) {
  HeadingLine heading;
  constexpr std::u32string_view kProse = U"。，、；：！？“”「」……\"";
  if (text.empty() || CountCharacters(text) > kLongestWideFirstLine ||
      ReadHeadingLine(text, heading))
    return false;
  for (size_t i = 0; i < text.size();) {
    const Character c = CharacterAt(text, i);
    i += c.length;
    if (kProse.find(c.code) != std::u32string_view::npos) return false;
  }
  return IsLetter(FirstOf(text)) || IsDigit(FirstOf(text));
}

// "[三国演义 / 罗贯中 著 ]".
bool ReadBracketLine(std::string_view line, Metadata& facts) {
  if (!line.starts_with('[') && !line.starts_with("【")) return false;
  const size_t slash = line.find('/');
  if (slash == std::string_view::npos) return false;
  std::string_view author = line.substr(slash + 1);
  author = author.substr(0, std::min(author.find(']'), author.find("】")));
  facts.title = Trimmed(WithoutFirst(line.substr(0, slash)));
  AddContributor(AuthorNameOf(author), "aut", facts);
  return !facts.title.empty();
}

// The author as a line names it: "作者：李寶嘉", "清 鄒必顯撰".
std::string_view AuthorOfLine(std::string_view line) {
  for (const std::string_view mark : {"作者：", "作者:", "作者︰", "著者：", "作 者："}) {
    const size_t at = line.find(mark);
    if (at != std::string_view::npos) return AuthorNameOf(line.substr(at + mark.size()));
  }
  std::string_view rest = line;
  if (CountCharacters(line) > 30 || !EndsWithAny(rest, {"著", "撰", "編", "编", "编著"})) return {};
  const size_t blank = std::max(
      rest.rfind(' ') + 1, rest.rfind("》") == std::string_view::npos ? 0 : rest.rfind("》") + 3);
  std::string_view name = Trimmed(rest.substr(blank > rest.size() ? 0 : blank));
  // The dynasty may stand before the blank.
  if (blank == 0) name = AuthorNameOf(rest);
  return IsLetter(FirstOf(name)) && CountCharacters(name) <= 12 ? name : std::string_view();
}

void ReadWideTitle(const std::vector<TextLine>& lines, Metadata& facts) {
  constexpr size_t kNear = 6;
  for (size_t i = 0; i < std::min(lines.size(), kNear); ++i) {
    if (facts.title.empty() && ReadBracketLine(lines[i].text, facts)) return;
  }
  const std::string_view first = lines.front().text;
  std::string_view title = first;
  for (const std::string_view mark : {"作者", "著者"}) {
    const size_t at = title.find(mark);
    if (at != std::string_view::npos) title = title.substr(0, at);
  }
  title = WithoutTitleMarks(title);
  if (facts.title.empty() && IsWideTitle(title)) facts.title = title;
  if (facts.title.empty()) {  // the first book that what stands before it speaks of
    for (size_t i = 0; i < std::min<size_t>(lines.size(), 3); ++i) {
      HeadingLine heading;
      if (ReadHeadingLine(lines[i].text, heading) && heading.form != HeadingLine::Form::kNamed)
        return;
      if (i > 0 && lines[i].text.starts_with("《")) facts.title = WithoutTitleMarks(lines[i].text);
    }
  }
  for (size_t i = 0; i < std::min(lines.size(), kNear) && !HasAuthor(facts); ++i) {
    AddContributor(AuthorOfLine(lines[i].text), "aut", facts);
  }
}

// Title, perhaps a second title, author, perhaps who translated: until a blank line.
void ReadAozoraTitle(const std::vector<TextLine>& lines, Metadata& facts) {
  size_t count = 1;
  while (count < std::min<size_t>(lines.size(), 6) && !lines[count].isBehindBlank) ++count;
  HeadingLine heading;
  if (count < 2 || ReadHeadingLine(lines.front().text, heading)) return;
  for (size_t i = 0; i < count; ++i) {
    if (lines[i].text.ends_with("。") || CountCharacters(lines[i].text) > kLongestTitle) return;
  }
  if (facts.title.empty()) facts.title = lines.front().text;
  for (size_t i = 1; i < count; ++i) {
    std::string_view name = lines[i].text;
    if (EndsWithAny(name, {"訳", "譯"})) AddContributor(name, "trl", facts);
  }
  for (size_t i = count; i-- > 1 && !HasAuthor(facts);) {
    std::string_view name = lines[i].text;
    if (!name.ends_with("訳") && !name.ends_with("譯")) AddContributor(name, "aut", facts);
  }
}

// --------------------------------------------------------------------------------------- other
// text

constexpr std::string_view kSmallWords[] = {
    "a",    "an", "the", "of", "and", "or",  "in", "on", "at",  "to",  "for", "from", "by",
    "with", "de", "la",  "le", "les", "des", "du", "et", "und", "der", "die", "das"};

// "A TALE OF TWO CITIES" as titles are written.
std::string WithoutShouting(std::string_view text) {
  const bool hasSmall =
      std::any_of(text.begin(), text.end(), [](char c) { return c >= 'a' && c <= 'z'; });
  if (hasSmall || text.size() < 4) return std::string(text);
  std::string out = FoldedText(text);
  bool isFirst = true;
  for (size_t i = 0; i < out.size();) {
    if (!IsLetter(CharacterAt(out, i).code)) {
      i += CharacterAt(out, i).length;
      continue;
    }
    size_t end = i;
    while (end < out.size() && (IsLetter(CharacterAt(out, end).code) || out[end] == '\'')) {
      end += CharacterAt(out, end).length;
    }
    const std::string_view word = std::string_view(out).substr(i, end - i);
    const bool isSmall =
        std::find(std::begin(kSmallWords), std::end(kSmallWords), word) != std::end(kSmallWords);
    if (isFirst || !isSmall) {
      const size_t length = CharacterAt(text, i).length;  // folding keeps lengths
      out.replace(i, length, text.substr(i, length));
    }
    isFirst = false;
    i = end;
  }
  return out;
}

std::string_view WithoutUnderscores(std::string_view text) {
  while (text.starts_with('_')) text.remove_prefix(1);
  while (text.ends_with('_')) text.remove_suffix(1);
  return text;
}

// "by Charles Dickens", or "by" and the name on the next line.
std::string_view ByLine(const std::vector<TextLine>& lines, size_t i) {
  const std::string_view line = WithoutUnderscores(lines[i].text);
  const std::string folded = FoldedText(line);
  for (const std::string_view by : {"by", "von", "par", "di", "por", "written by"}) {
    if (folded == by && i + 1 < lines.size()) return lines[i + 1].text;
    if (folded.starts_with(by) && folded.size() > by.size() + 2 && folded[by.size()] == ' ') {
      const std::string_view name = Trimmed(line.substr(by.size()));
      const auto words = std::count(name.begin(), name.end(), ' ') + 1;
      const bool isName =
          IsCapital(FirstOf(name)) && words <= 6 && (lines[i].isBehindBlank || by == "by");
      if (isName) return name;
    }
  }
  return {};
}

bool IsTitleLine(std::string_view text) {
  HeadingLine heading;
  if (text.empty() || CountCharacters(text) > kLongestTitle ||
      !IsLetter(FirstOf(WithoutUnderscores(text)))) {
    return false;
  }
  return !text.ends_with(',') && !ReadHeadingLine(text, heading);
}

void ReadTitlePage(const std::vector<TextLine>& lines, Metadata& facts) {
  for (size_t i = 0; i < std::min(lines.size(), kTitleLines); ++i) {
    const std::string_view name = ByLine(lines, i);
    if (name.empty() || CountCharacters(name) > kLongestAuthor) continue;
    size_t title = 0;
    while (title < i && !IsTitleLine(lines[title].text)) ++title;
    if (title == i || i > title + 8) return;
    std::string_view author = name.substr(0, name.find(','));
    while (author.ends_with('.') && !author.ends_with("Jr.")) author.remove_suffix(1);
    if (!HasAuthor(facts)) AddContributor(WithoutShouting(author), "aut", facts);
    if (facts.title.empty()) {
      std::string_view text = lines[title].text;
      while (text.ends_with('.') || text.ends_with(';')) text.remove_suffix(1);
      facts.title = WithoutShouting(WithoutUnderscores(text));
    }
    return;
  }
}

// In capitals, or all long words with one, and nothing but words.
bool IsWrittenAsTitle(std::string_view text) {
  constexpr size_t kLongWord = 4;
  size_t words = 0;
  bool isShouted = true;
  while (!text.empty()) {
    const size_t end = std::min(text.find(' '), text.size());
    const std::string_view word = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    if (word.empty()) continue;
    if (word.find_first_of(".,:;!?0123456789/@_<>=") != std::string_view::npos) return false;
    if (IsSmall(FirstOf(word)) && CountCharacters(word) >= kLongWord) return false;
    isShouted = isShouted && !IsSmall(LastOf(word));
    ++words;
  }
  return isShouted || words > 1;
}

// A line of its own before the first heading, or one that is written as titles are.
void ReadLoneTitle(const std::vector<TextLine>& lines, Metadata& facts) {
  HeadingLine heading;
  if (lines.size() < 2 || !lines[1].isBehindBlank) return;
  const std::string_view title = lines[0].text;
  const bool isBeforeHeading = ReadHeadingLine(lines[1].text, heading) && !title.ends_with('.');
  if (IsTitleLine(title) && (isBeforeHeading || IsWrittenAsTitle(title))) {
    facts.title = WithoutShouting(WithoutUnderscores(title));
  }
}

// "The Project Gutenberg eBook of Alice, by Lewis Carroll".
void ReadGutenbergLine(std::string_view line, Metadata& facts) {
  const size_t mark = line.find("Project Gutenberg");
  if (mark == std::string_view::npos) return;
  const size_t of = line.find(" of ", mark);
  const size_t by = line.rfind(", by ");
  if (of == std::string_view::npos || by == std::string_view::npos || by < of) return;
  if (facts.title.empty()) facts.title = line.substr(of + 4, by - of - 4);
  if (!HasAuthor(facts)) AddContributor(line.substr(by + 5), "aut", facts);
}

// --------------------------------------------------------------------------------------- file
// names

void ReadFileName(std::string_view name, Metadata& facts) {
  name = name.substr(
      name.find_last_of("/\\") == std::string_view::npos ? 0 : name.find_last_of("/\\") + 1);
  if (const size_t dot = name.rfind('.');
      dot != std::string_view::npos && dot > 0 && name.size() - dot <= 5) {
    name = name.substr(0, dot);
  }
  const std::string whole = [&name] {
    std::string text(name);
    std::replace(text.begin(), text.end(), '_', ' ');
    return text;
  }();
  std::string_view title = Trimmed(whole);
  std::string_view author;
  const size_t mark = whole.find("作者");
  const size_t dash = whole.find(" - ");
  if (title.starts_with("《") && title.find("》") != std::string_view::npos) {
    if (mark != std::string::npos)
      author = AuthorNameOf(WithoutFirst(std::string_view(whole).substr(mark + 6)));
    title = WithoutTitleMarks(title);
  } else if (dash != std::string::npos) {
    author = Trimmed(std::string_view(whole).substr(0, dash));
    title = Trimmed(std::string_view(whole).substr(dash + 3));
    const bool isOtherWay =
        facts.title == author || (HasAuthor(facts) && facts.contributors.front().name == title);
    if (isOtherWay) std::swap(author, title);
  }
  if (facts.title.empty()) facts.title = title.empty() ? std::string_view(whole) : title;
  if (!HasAuthor(facts) && !author.empty()) {
    facts.contributors.insert(facts.contributors.begin(), {std::string(author), "", "aut"});
  }
}

// "Lewis Carroll" is filed under "Carroll, Lewis".
void FileAuthors(Metadata& facts) {
  for (Contributor& contributor : facts.contributors) {
    const std::string& name = contributor.name;
    const size_t blank = name.rfind(' ');
    const bool isPlain =
        std::all_of(name.begin(), name.end(), [](char c) { return c != ',' && c != '('; });
    if (blank == std::string::npos || !isPlain || IsWide(FirstOf(name)) || name.ends_with('.'))
      continue;
    contributor.fileAs = name.substr(blank + 1) + ", " + name.substr(0, blank);
  }
}

}  // namespace

Metadata ReadTextFacts(std::string_view beginning, std::string_view fileName) {
  Metadata facts;
  const std::vector<TextLine> lines = FirstLines(beginning);
  if (!lines.empty()) {
    ReadFields(lines, facts);
    ReadGutenbergLine(lines.front().text, facts);
    const bool isWide =
        std::count_if(lines.begin(), lines.end(),
                      [](const TextLine& line) { return IsWide(FirstOf(line.text)); }) *
            2 >
        static_cast<std::ptrdiff_t>(lines.size());
    if (facts.title.empty()) {
      if (!isWide) {
        ReadTitlePage(lines, facts);
        if (facts.title.empty()) ReadLoneTitle(lines, facts);
      } else if (LanguageOfText(beginning) == "ja") {
        ReadAozoraTitle(lines, facts);
      } else {
        ReadWideTitle(lines, facts);
      }
    }
  }
  ReadFileName(fileName, facts);
  FileAuthors(facts);
  return facts;
}
