// Cuts a text at its headings, and around its list of contents.
#include "edition/text/book_plan.h"

#include <algorithm>

namespace {

// The lines behind a heading that can be its title, at most.
std::uint32_t TitleLines(const Heading& heading, const Candidate& candidate) {
  switch (heading.title) {
    case Heading::Title::kSameBlock:
      return static_cast<std::uint32_t>(candidate.blockLines) - 1;
    case Heading::Title::kNextLine:
      return 2;
    default:
      return 0;
  }
}

// The list of contents: most links that are near each other, with no heading between.
struct List {
  LinePlace begin;
  LinePlace end;
  size_t links = 0;
};

// The first heading behind a line.
size_t HeadingBehind(const Structure& structure, std::uint32_t line) {
  const auto& headings = structure.headings;
  const auto next =
      std::upper_bound(headings.begin(), headings.end(), line,
                       [](std::uint32_t at, const Heading& heading) { return at < heading.line; });
  return static_cast<size_t>(next - headings.begin());
}

List FindList(const SurveyResult& survey, const Structure& structure) {
  constexpr std::uint32_t kNear = 25;
  List best;
  List current;
  for (const ListLink& link : structure.links) {
    if (link.line >= structure.headings[link.heading].line) continue;
    const bool goesOn =
        current.links > 0 && link.line - current.end.line <= kNear &&
        HeadingBehind(structure, link.line) == HeadingBehind(structure, current.begin.line);
    if (!goesOn) current = {{link.line, link.textLine}, {}, 0};
    current.end = {link.line, link.textLine};
    ++current.links;
    if (current.links > best.links) best = current;
  }
  for (const LinePlace& title : survey.listTitles) {
    if (title.line < best.begin.line && best.begin.line - title.line <= kNear &&
        HeadingBehind(structure, title.line) == HeadingBehind(structure, best.begin.line)) {
      best.begin = title;
      break;
    }
  }
  return best;
}

class Planner {
 public:
  Planner(const SurveyResult& surveyed, const Structure& chosen)
      : survey(surveyed),
        headings(chosen.headings),
        list(FindList(surveyed, chosen)),
        behindList(HeadingBehind(chosen, list.begin.line)),
        line(surveyed.firstLine),
        textLine(surveyed.firstTextLine) {}

  BookPlan Plan() {
    for (size_t i = 0; i < headings.size(); ++i) {
      if (i == behindList) PlanList();
      if (i == 0 || i == behindList) PlanText(PlaceOf(i).textLine);
      PlanHeading(i);
    }
    if (headings.empty()) PlanText(survey.endTextLine);
    if (survey.endLine != UINT32_MAX || survey.firstLine > 0) Add(survey.endLine, Kind::kLicence);
    if (plan.documents.empty()) Add(survey.firstLine, Kind::kText);
    return std::move(plan);
  }

 private:
  using Kind = PlannedDocument::Kind;

  const Candidate& PlaceOf(size_t heading) const {
    return survey.candidates[headings[heading].candidate];
  }

  void Add(std::uint32_t begin, Kind kind) { plan.documents.push_back({begin, kind}); }

  // What stands between the last document and a heading.
  void PlanText(std::uint32_t end) {
    if (end > textLine) Add(line, Kind::kText);
  }

  void PlanList() {
    constexpr size_t kShortestList = 3;
    if (list.links < kShortestList) return;
    if (behindList == 0) PlanText(list.begin.textLine);
    Add(list.begin.line, Kind::kList);
    plan.listBegin = list.begin.line;
    plan.listEnd = list.end.line;
    line = list.end.line + 1;
    textLine = list.end.textLine + 1;
  }

  void PlanHeading(size_t i) {
    const bool isBelow = i > 0 && headings[i].level > headings[i - 1].level &&
                         PlaceOf(i).textLine - PlaceOf(i - 1).textLine <=
                             1U + TitleLines(headings[i - 1], PlaceOf(i - 1)) +
                                 (headings[i - 1].isUnderlined ? 1U : 0U);
    const bool isSection = !headings[i].isInContents && !plan.documents.empty();
    if (!isBelow && !isSection) Add(headings[i].line, Kind::kText);
    plan.ofHeading.push_back(static_cast<std::uint32_t>(plan.documents.size() - 1));
    line = headings[i].line + 1;
    textLine = UINT32_MAX;  // its own text belongs to it
  }

  const SurveyResult& survey;
  const std::vector<Heading>& headings;
  const List list;
  const size_t behindList;  // the heading that follows the list
  std::uint32_t line;  // where the text begins that is in no document, and among the text lines
  std::uint32_t textLine;
  BookPlan plan;
};

}  // namespace

BookPlan PlanBook(const SurveyResult& survey, const Structure& structure) {
  return Planner(survey, structure).Plan();
}
