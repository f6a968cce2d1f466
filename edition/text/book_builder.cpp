// Leads each line to the heading, the list or the paragraph that it belongs to.
#include "edition/text/book_builder.h"

#include <algorithm>
#include <utility>

#include "edition/text/aozora.h"
#include "edition/text/characters.h"
#include "edition/text/markup.h"

namespace {

constexpr size_t kMostLicence = size_t{1} << 16;
constexpr size_t kLongestWideTitle = 42;
constexpr int kDeepestHeading = 6;

// On one line, with single blanks.
std::string Folded(std::string_view text) {
  std::string out;
  bool isBehindBlank = false;
  for (size_t i = 0; i < text.size();) {
    const Character c = CharacterAt(text, i);
    if (!IsBlank(c.code)) {
      if (isBehindBlank && !out.empty()) out += ' ';
      out.append(text, i, c.length);
    }
    isBehindBlank = IsBlank(c.code);
    i += c.length;
  }
  return out;
}

// Without the signs around it: "*** Chapter 1 ***", "# Chapter 1", "_Chapter 1_"; brackets stay.
std::string_view WithoutSigns(std::string_view text) {
  constexpr std::u32string_view kSigns = U"*#=_~＊＃＝-–—─━◆◇●○■□★☆※";
  const std::string_view whole = text;
  // The end of a caption that the heading stands in.
  if (text.ends_with(']') && text.find('[') == std::string_view::npos) {
    return WithoutBlanksBehind(text.substr(0, text.size() - 1));
  }
  while (!text.empty() &&
         (kSigns.find(FirstOf(text)) != std::u32string_view::npos || IsBlank(FirstOf(text)))) {
    text = WithoutFirst(text);
  }
  if (text.data() == whole.data()) return whole;
  while (!text.empty() &&
         (kSigns.find(LastOf(text)) != std::u32string_view::npos || IsBlank(LastOf(text)))) {
    text = WithoutLast(text);
  }
  return text.empty() ? whole : text;
}

std::string WithoutMarks(std::string text) {
  DropControls(text);
  return text;
}

std::string IdOf(size_t heading) {
  std::string id = "h";
  return id.append(std::to_string(heading + 1));
}

// "Book I, Chapter 1": the first heading alone.
std::string_view WithoutJoiner(std::string_view text) {
  constexpr std::u32string_view kJoiners = U",.:;-–—·．・‧，、：";
  while (!text.empty() &&
         (kJoiners.find(LastOf(text)) != std::u32string_view::npos || IsBlank(LastOf(text)))) {
    text = WithoutLast(text);
  }
  return text;
}

bool EndsAsSentence(std::string_view text) {
  return std::u32string_view(U"。，！？；：」』…").find(LastOf(text)) != std::u32string_view::npos;
}

}  // namespace

BookBuilder::BookBuilder(const SurveyResult& surveyed, const Structure& chosen,
                         const Layout& textLayout, const WordSet& words, const Metadata& named,
                         BookSink& target)
    : survey(surveyed),
      structure(chosen),
      layout(textLayout),
      facts(named),
      sink(target),
      plan(PlanBook(surveyed, chosen)),
      writer(target),
      paragraphs(textLayout, words, writer) {}

Status BookBuilder::Take(std::string_view line, std::uint64_t number, bool isContinued) {
  if (number < survey.firstLine) {
    if (licence.size() < kMostLicence) licence.append(line) += '\n';
    return Done();
  }
  if (!isContinued && nextDocument < plan.documents.size() &&
      number >= plan.documents[nextDocument].line) {
    if (Status status = BeginDocument(plan.documents[nextDocument++]); !status) return status;
  }
  const bool isBlank = WithoutBlanksBefore(line).empty();
  if (isOpen && TakeTitle(line, isBlank)) return Done();
  if (isOpen) {
    if (Status status = EndHeading(); !status) return status;
  }
  if (nextHeading < structure.headings.size() && number == structure.headings[nextHeading].line &&
      !isContinued) {
    return BeginHeading(line);
  }
  if (number >= plan.listBegin && number <= plan.listEnd) {
    return isBlank ? Done() : TakeListLine(Trimmed(line), static_cast<std::uint32_t>(number));
  }
  return isBlank ? paragraphs.AddBlank() : paragraphs.AddLine(line, isContinued);
}

Status BookBuilder::BeginDocument(const PlannedDocument& planned) {
  if (isOpen) {
    if (Status status = EndHeading(); !status) return status;
  }
  if (Status status = paragraphs.Flush(); !status) return status;
  if (Status status = writer.End(); !status) return status;
  Document document;
  const bool isLicence = planned.kind == PlannedDocument::Kind::kLicence;
  if (planned.kind == PlannedDocument::Kind::kList) document.role = Document::Role::kContents;
  if (isLicence) document.role = Document::Role::kBackMatter;
  writer.Begin(std::move(document));
  paragraphs.BeginSection();
  const auto& headings = structure.headings;
  if (nextDocument == 1 && (headings.empty() || planned.line < headings.front().line)) {
    paragraphs.BeginTitlePage(facts, !headings.empty());
  }
  if (!isLicence) return Done();
  // What stood before the book comes first.
  for (std::string_view rest = licence; !rest.empty();) {
    const size_t end = rest.find('\n');
    const std::string_view line = rest.substr(0, end);
    rest.remove_prefix(end + 1);
    const bool isBlank = WithoutBlanksBefore(line).empty();
    Status status = isBlank ? paragraphs.AddBlank() : paragraphs.AddLine(line, false);
    if (!status) return status;
  }
  return paragraphs.Flush();
}

// ------------------------------------------------------------------------------------------
// headings

Status BookBuilder::BeginHeading(std::string_view line) {
  if (Status status = paragraphs.Flush(); !status) return status;
  const Candidate& candidate = survey.candidates[structure.headings[nextHeading].candidate];
  std::string text(Trimmed(line));
  DropControls(text);
  openOuter.clear();
  HeadingLine heading;
  if (candidate.UnitIn() != kMarkedUnit && ReadHeadingLine(text, heading)) {
    const std::string_view behind = std::string_view(text).substr(heading.body);
    if (candidate.outerKind != 0) {
      openOuter = Folded(behind.substr(0, heading.inner - heading.body));
    }
    const bool hasBodyMark = text.compare(0, heading.body, "正文 ") == 0 ||
                             text.substr(0, heading.body).find("正文") != std::string::npos;
    if (hasBodyMark) text = std::string(behind);
  } else if (layout.isAozora) {
    text = ReadAozoraLine(text).text;
  }
  openLines.assign(1, std::string(WithoutSigns(Trimmed(text))));
  openBlanks = 0;
  isOpen = true;
  isRuleNext = structure.headings[nextHeading].isUnderlined;
  return Done();
}

// Whether a line behind a heading belongs to it.
bool BookBuilder::TakeTitle(std::string_view line, bool isBlank) {
  if (std::exchange(isRuleNext, false)) return true;
  const Heading& heading = structure.headings[nextHeading];
  constexpr size_t kMostBlanks = 2;
  constexpr size_t kMostTitleLines = 6;
  std::string text(Trimmed(line));
  DropControls(text);
  switch (heading.title) {
    case Heading::Title::kSameBlock:
      if (isBlank || openLines.size() >= kMostTitleLines) return false;
      openLines.push_back(std::move(text));
      return true;
    case Heading::Title::kNextLine:
      if (openLines.size() == 1) {
        if (isBlank) return ++openBlanks <= kMostBlanks;
        if (layout.isWide && (CountCharacters(text) > kLongestWideTitle || EndsAsSentence(text)))
          return false;
        openLines.push_back(std::move(text));
        return true;
      }
      // The second line of a couplet is nearly as long as the first.
      if (layout.isWide && !isBlank && openLines.size() == 2 && !EndsAsSentence(text)) {
        const size_t first = CountCharacters(openLines.back());
        const size_t second = CountCharacters(text);
        const bool isCouplet = openLines.back().find("　") == std::string::npos &&
                               openLines.back().find(' ') == std::string::npos;
        if (isCouplet && first > 3 && second <= first + 2 && second + 2 >= first) {
          openLines.push_back(std::move(text));
          return true;
        }
      }
      return false;
    default:
      return false;
  }
}

Status BookBuilder::EndHeading() {
  const Heading& heading = structure.headings[nextHeading];
  isOpen = false;
  std::string title;
  std::string& markup = writer.Markup();
  const int rank = std::min<int>(heading.level + 1, kDeepestHeading);
  const std::string rankText = std::to_string(rank);
  markup.append("<h").append(rankText).append(" id=\"").append(IdOf(nextHeading)).append("\">");
  for (size_t i = 0; i < openLines.size(); ++i) {
    const bool joins = i > 1 && !layout.isWide;  // the lines of one title
    if (i > 0) markup += joins ? " " : "<br />";
    std::string line = openLines[i];
    if (!layout.isWide) MarkEmphasis(line);
    const bool isNumber = i == 0 && openLines.size() > 1;
    if (isNumber) markup += "<span class=\"number\">";
    AppendMarkup(line, markup);
    if (isNumber) markup += "</span>";
    title.append(i > 0 ? " " : "").append(WithoutMarks(line));
  }
  markup.append("</h").append(rankText).append(">\n");
  title = Folded(title);
  if (heading.isInContents) AddToContents(title, openOuter);
  ++nextHeading;
  paragraphs.BeginSection();
  return writer.EndBlock();
}

void BookBuilder::AddToContents(const std::string& title, const std::string& outerTitle) {
  const Heading& heading = structure.headings[nextHeading];
  const Candidate& candidate = survey.candidates[heading.candidate];
  const std::uint32_t document = plan.ofHeading[nextHeading];
  const bool isFirst = nextHeading == 0 || plan.ofHeading[nextHeading - 1] != document;
  const std::string anchor = isFirst ? "" : IdOf(nextHeading);
  size_t level = heading.level;
  std::string label = title;
  if (candidate.outerKind != 0) {
    if (candidate.outerKind != lastOuterKind || candidate.outerNumber != lastOuterNumber) {
      lastOuterKind = candidate.outerKind;
      lastOuterNumber = candidate.outerNumber;
      Enter(level,
            {std::string(WithoutJoiner(outerTitle)), document, anchor, heading.line + 1ULL, {}});
    }
    ++level;
    if (label.starts_with(outerTitle))
      label = Trimmed(std::string_view(label).substr(outerTitle.size()));
  }
  Enter(level, {label, document, anchor, heading.line + 1ULL, {}});
}

// As deep as there are entries above it.
void BookBuilder::Enter(size_t level, ContentsEntry entry) {
  std::vector<ContentsEntry>* entries = &contents;
  for (; level > 0 && !entries->empty(); --level) entries = &entries->back().children;
  entries->push_back(std::move(entry));
}

// --------------------------------------------------------------------------------------------
// lists

Status BookBuilder::TakeListLine(std::string_view text, std::uint32_t number) {
  while (nextLink < structure.links.size() && structure.links[nextLink].line < number) ++nextLink;
  const bool isLink = nextLink < structure.links.size() && structure.links[nextLink].line == number;
  std::string line = Folded(text);
  DropControls(line);
  std::string& markup = writer.Markup();
  markup += "<p class=\"entry\">";
  if (isLink) {
    const size_t heading = structure.links[nextLink].heading;
    const std::uint32_t document = plan.ofHeading[heading];
    const bool isFirst = heading == 0 || plan.ofHeading[heading - 1] != document;
    markup += "<a href=\"";
    AppendMarkup(sink.ReferenceTo(document), markup);
    if (!isFirst) markup.append("#").append(IdOf(heading));
    markup += "\">";
  }
  AppendMarkup(line, markup);
  if (isLink) markup += "</a>";
  markup += "</p>\n";
  return writer.EndBlock();
}

Status BookBuilder::Finish() {
  if (isOpen) {
    if (Status status = EndHeading(); !status) return status;
  }
  // Documents that no line began: a licence that stands before the book only, an empty text.
  while (nextDocument < plan.documents.size()) {
    if (Status status = BeginDocument(plan.documents[nextDocument++]); !status) return status;
  }
  if (Status status = paragraphs.Flush(); !status) return status;
  if (Status status = writer.End(); !status) return status;
  return sink.Finish(std::move(contents));
}
