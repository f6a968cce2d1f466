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

// The list of contents: most links that are near each other, before the first heading.
struct List {
  LinePlace begin;
  LinePlace end;
  size_t links = 0;
};

List FindList(const SurveyResult& survey, const Structure& structure) {
  constexpr std::uint32_t kNear = 25;
  List best;
  List current;
  const std::uint32_t first = structure.headings.empty() ? 0 : structure.headings.front().line;
  for (const ListLink& link : structure.links) {
    if (link.line >= first) break;
    const bool goesOn = current.links > 0 && link.line - current.end.line <= kNear;
    if (!goesOn) current = {{link.line, link.textLine}, {}, 0};
    current.end = {link.line, link.textLine};
    ++current.links;
    if (current.links > best.links) best = current;
  }
  for (const LinePlace& title : survey.listTitles) {
    if (title.line < best.begin.line && best.begin.line - title.line <= kNear) {
      best.begin = title;
      break;
    }
  }
  return best;
}

}  // namespace

BookPlan PlanBook(const SurveyResult& survey, const Structure& structure) {
  constexpr size_t kShortestList = 3;
  using Kind = PlannedDocument::Kind;
  BookPlan plan;
  const List list = FindList(survey, structure);
  std::uint32_t textLine = survey.firstTextLine;  // the first that is not in a document
  std::uint32_t line = survey.firstLine;
  const auto addUpTo = [&](std::uint32_t end) {
    if (end > textLine) plan.documents.push_back({line, Kind::kText});
  };
  if (list.links >= kShortestList) {
    addUpTo(list.begin.textLine);
    plan.documents.push_back({list.begin.line, Kind::kList});
    plan.listBegin = list.begin.line;
    plan.listEnd = list.end.line;
    textLine = list.end.textLine + 1;
    line = list.end.line + 1;
  }
  const auto& headings = structure.headings;
  const auto placeOf = [&](size_t i) -> const Candidate& {
    return survey.candidates[headings[i].candidate];
  };
  addUpTo(headings.empty() ? survey.endTextLine : placeOf(0).textLine);
  for (size_t i = 0; i < headings.size(); ++i) {
    const bool isBelow = i > 0 && headings[i].level > headings[i - 1].level &&
                         placeOf(i).textLine - placeOf(i - 1).textLine <=
                             1 + TitleLines(headings[i - 1], placeOf(i - 1));
    const bool isSection = !headings[i].isInContents && !plan.documents.empty();
    if (!isBelow && !isSection) plan.documents.push_back({headings[i].line, Kind::kText});
    plan.ofHeading.push_back(static_cast<std::uint32_t>(plan.documents.size() - 1));
  }
  if (survey.endLine != UINT32_MAX || survey.firstLine > 0) {
    plan.documents.push_back({survey.endLine, Kind::kLicence});
  }
  if (plan.documents.empty()) plan.documents.push_back({survey.firstLine, Kind::kText});
  return plan;
}
