// Makes a tree of headings and pages.
#include "edition/html/site_contents.h"

#include <algorithm>
#include <utility>

namespace {

constexpr size_t kDeepestContents = 4;  // levels of pages and of headings in them

bool IsLeftOut(const HtmlPage& page, const PageHeading& heading, const std::vector<bool>& dropped) {
  const auto known = page.ids.find(heading.id);
  return known == page.ids.end() || (known->second != kNoPart && dropped[known->second]);
}

std::vector<const PageHeading*> HeadingsOf(const HtmlPage& page, const std::vector<bool>& dropped) {
  std::vector<const PageHeading*> headings;
  for (const PageHeading& heading : page.headings) {
    if (!IsLeftOut(page, heading, dropped)) headings.push_back(&heading);
  }
  return headings;
}

// Where several headings are as high as the first one, none is that of the whole page.
bool HasTitle(const std::vector<const PageHeading*>& headings) {
  if (headings.empty()) return false;
  const unsigned first = headings.front()->level;
  return std::none_of(headings.begin() + 1, headings.end(),
                      [&](const PageHeading* other) { return other->level <= first; });
}

// Entries of headings, nested by their levels, however many these skip.
std::vector<ContentsEntry> Nested(const std::vector<const PageHeading*>& headings, size_t begin,
                                  size_t document, size_t deepest) {
  std::vector<ContentsEntry> entries;
  std::vector<unsigned> path;
  for (size_t i = begin; i < headings.size(); ++i) {
    while (!path.empty() && path.back() >= headings[i]->level) path.pop_back();
    if (path.size() < deepest) {
      std::vector<ContentsEntry>* place = &entries;
      for (size_t level = 0; level < path.size(); ++level) place = &place->back().children;
      place->push_back({headings[i]->title, document, headings[i]->id, 0, {}});
      path.push_back(headings[i]->level);
    }
  }
  return entries;
}

}  // namespace

std::string TitleOf(const HtmlPage& page, const std::vector<bool>& dropped) {
  const std::vector<const PageHeading*> headings = HeadingsOf(page, dropped);
  const bool isNamed = HasTitle(headings) || (page.facts.title.empty() && !headings.empty());
  return isNamed ? headings.front()->title : page.facts.title;
}

std::vector<ContentsEntry> ContentsOf(const Site& site, const std::vector<OrderedPage>& order,
                                      const std::vector<std::vector<bool>>& dropped) {
  std::vector<ContentsEntry> contents;
  for (size_t document = 0; document < order.size(); ++document) {
    const size_t number = order[document].page;
    const HtmlPage& page = site.Pages()[number].content;
    const std::vector<const PageHeading*> headings = HeadingsOf(page, dropped[number]);
    const size_t begin = HasTitle(headings) ? 1 : 0;
    const size_t deepest = kDeepestContents - std::min(order[document].level + 1, kDeepestContents);
    ContentsEntry entry{TitleOf(page, dropped[number]),
                        document,
                        {},
                        0,
                        Nested(headings, begin, document, deepest)};
    if (entry.title.empty()) entry.title = site.Pages()[number].path;
    if (order.size() == 1 && !entry.children.empty()) return std::move(entry.children);
    std::vector<ContentsEntry>* place = &contents;
    for (size_t level = order[document].level; level > 0 && !place->empty(); --level) {
      place = &place->back().children;
    }
    place->push_back(std::move(entry));
  }
  return contents;
}
