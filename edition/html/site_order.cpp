// Takes the order of pages from links to the next one, or from lists of contents.
#include "edition/html/site_order.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace {

constexpr size_t kGoodPart = 6;
constexpr size_t kFarMore = 2;
constexpr size_t kDeepestPage = 2;  // further down, readers lose their way

std::string_view FolderOf(std::string_view path) {
  return path.substr(0, path.rfind('/') + 1);  // npos + 1 is 0
}

class Order {
 public:
  Order(const Site& read, const std::vector<std::vector<bool>>& repeatedParts)
      : site(read), pages(read.Pages()), repeated(repeatedParts), parents(pages.size(), kNoPage) {}

  std::vector<OrderedPage> Find() {
    const std::vector<size_t> chain = Chain();
    const bool isWhole = site.Inputs() == 1 && chain.size() > 2 && chain.size() * 2 > pages.size();
    isWhole ? FollowChain(chain) : FollowLists();
    AddRest();
    return Flattened();
  }

 private:
  struct Listed {
    size_t page;
    std::unordered_set<size_t> list;
  };

  std::vector<size_t> Chain() const {
    std::vector<size_t> chain;
    std::vector<bool> isIn(pages.size(), false);
    for (size_t page = 0; page != kNoPage && !isIn[page]; page = pages[page].next) {
      isIn[page] = true;
      chain.push_back(page);
    }
    return chain;
  }

  // A page belongs to the one above it in the list of all on the first page; without such a list to
  // the one that it names, or to the last one before it that lists it.
  void FollowChain(const std::vector<size_t>& chain) {
    const std::unordered_map<size_t, size_t> outline = OutlineOf(chain.front());
    const bool hasOutline = outline.size() * 2 > chain.size();
    std::vector<Listed> path;
    taken.assign(pages.size(), false);
    for (const size_t page : chain) {
      taken[page] = true;
      const size_t up = pages[page].up;
      std::unordered_set<size_t> own = ListOf(page);
      // Pages that list each other stand beside each other.
      const auto lists = [&](const Listed& above) {
        return above.list.count(page) != 0 && own.count(above.page) == 0;
      };
      while (!path.empty() && path.back().page != up && !lists(path.back())) path.pop_back();
      // The first page is the one before all others.
      const bool isTop = path.empty() || path.back().page == 0;
      if (!isTop) parents[page] = path.back().page;
      const auto known = outline.find(page);
      if (hasOutline && known != outline.end()) parents[page] = known->second;
      arrived.push_back(page);
      path.push_back({page, std::move(own)});
    }
  }

  // For each page that lists of a page have, bars as well, the one above it.
  std::unordered_map<size_t, size_t> OutlineOf(size_t page) const {
    std::unordered_map<size_t, size_t> outline;
    std::vector<std::pair<unsigned, size_t>> path;
    const SitePage& from = pages[page];
    for (size_t i = 0; i < from.links.size(); ++i) {
      const size_t listed = from.links[i];
      const unsigned depth = from.content.links[i].depth;
      if (depth == 0 || listed == kNoPage) continue;
      while (!path.empty() && path.back().first >= depth) path.pop_back();
      if (listed == page) continue;
      const size_t above = path.empty() ? kNoPage : path.back().second;
      path.emplace_back(depth, listed);
      if (above != listed) outline.try_emplace(listed, above);
    }
    return outline;
  }

  // What lists of the page's own have; a bar has the pages beside it.
  std::unordered_set<size_t> ListOf(size_t page) const {
    std::unordered_set<size_t> list;
    const SitePage& from = pages[page];
    for (size_t i = 0; i < from.links.size(); ++i) {
      const PageLink& link = from.content.links[i];
      const bool isInBar = link.part != kNoPart && repeated[page][link.part];
      if (link.depth > 0 && !isInBar) list.insert(from.links[i]);
    }
    return list;
  }

  // A page takes those that its lists have, so that those further down get the rest.
  void FollowLists() {
    taken.assign(pages.size(), false);
    for (size_t page = 0; page < site.Inputs(); ++page) taken[page] = true;
    contents = ContentsPage();
    const bool isElsewhere = contents != kNoPage && !taken[contents];
    if (isElsewhere) FollowContents();
    for (size_t page = isElsewhere ? 1 : 0; page < site.Inputs(); ++page) FollowListsFrom(page);
  }

  // The first page, or what it shows in a frame, stays the first.
  void FollowContents() {
    const size_t shown = pages[0].shownBy;
    taken[contents] = true;
    arrived.push_back(0);
    if (shown != kNoPage && !taken[shown]) {
      taken[shown] = true;
      arrived.push_back(shown);
    }
    FollowListsFrom(contents);
    for (const size_t page : Claim(0)) FollowListsFrom(page);
  }

  // The page whose lists have most, where that is a good part of all and far more than the first
  // ones have.
  size_t ContentsPage() const {
    size_t shown = 0;
    size_t first = 0;
    size_t most = 0;
    size_t best = kNoPage;
    for (size_t page = 0; page < pages.size(); ++page) {
      if (pages[page].shownBy == kNoPage) ++shown;
      const size_t listed = IsIndex(page) ? 0 : ListOf(page).size();
      if (page < site.Inputs()) first = std::max(first, listed);
      if (listed <= most) continue;
      most = listed;
      best = page;
    }
    return most * kGoodPart > shown && most > first * kFarMore ? best : kNoPage;
  }

  // Contents have the parts of a page together; an index, by letters, goes to and fro.
  bool IsIndex(size_t page) const {
    const std::vector<size_t>& links = pages[page].links;
    size_t turns = 0;
    for (size_t i = 1; i < links.size(); ++i) turns += links[i] != links[i - 1] ? 1 : 0;
    const std::unordered_set<size_t> distinct(links.begin(), links.end());
    return turns > distinct.size() * kFarMore;
  }

  void FollowListsFrom(size_t first) {
    std::vector<size_t> waiting = {first};
    while (!waiting.empty()) {
      const size_t page = waiting.back();
      waiting.pop_back();
      arrived.push_back(page);
      const std::vector<size_t> claimed = Claim(page);
      waiting.insert(waiting.end(), claimed.rbegin(), claimed.rend());
    }
  }

  // Deeper entries of a list belong to the entry above them.
  std::vector<size_t> Claim(size_t page) {
    std::vector<size_t> claimed;
    std::vector<std::pair<unsigned, size_t>> path;
    const SitePage& from = pages[page];
    for (size_t i = 0; i < from.links.size(); ++i) {
      const size_t listed = from.links[i];
      const unsigned depth = from.content.links[i].depth;
      if (depth == 0 || listed == kNoPage) continue;
      while (!path.empty() && path.back().first >= depth) path.pop_back();
      const size_t above = path.empty() ? page : path.back().second;
      path.emplace_back(depth, listed);
      if (taken[listed]) continue;
      taken[listed] = true;
      const bool isTop = above < site.Inputs() || above == contents;
      if (!isTop && above != listed) parents[listed] = above;
      claimed.push_back(listed);
    }
    return claimed;
  }

  // What no list has comes beside the page that led to it, behind all that is there already, or
  // below it, where that is how they are kept.
  void AddRest() {
    for (size_t page = 0; page < pages.size(); ++page) {
      if (taken[page]) continue;
      taken[page] = true;
      const size_t from = pages[page].from;
      if (from != kNoPage) parents[page] = IsKeptBelow(page, from) ? from : parents[from];
      arrived.push_back(page);
    }
  }

  bool IsKeptBelow(size_t page, size_t above) const {
    const std::string_view folder = FolderOf(pages[above].path);
    const std::string_view own = FolderOf(pages[page].path);
    return above >= site.Inputs() && own.size() > folder.size() && own.starts_with(folder);
  }

  // Parents before what belongs to them, else as they came.
  std::vector<OrderedPage> Flattened() const {
    std::vector<std::vector<size_t>> below(pages.size());
    std::vector<size_t> tops;
    for (const size_t page : arrived) {
      (parents[page] == kNoPage ? tops : below[parents[page]]).push_back(page);
    }
    std::vector<OrderedPage> order;
    std::vector<OrderedPage> waiting;
    std::transform(tops.rbegin(), tops.rend(), std::back_inserter(waiting), [](size_t page) {
      return OrderedPage{page, 0};
    });
    while (!waiting.empty()) {
      const OrderedPage next = waiting.back();
      waiting.pop_back();
      if (pages[next.page].shownBy == kNoPage) order.push_back(next);
      const std::vector<size_t>& inner = below[next.page];
      const size_t level = std::min(next.level + 1, kDeepestPage);
      for (size_t i = inner.size(); i-- > 0;) waiting.push_back({inner[i], level});
    }
    return order;
  }

  const Site& site;
  const SitePages& pages;
  const std::vector<std::vector<bool>>& repeated;
  std::vector<size_t> parents;
  std::vector<bool> taken;
  std::vector<size_t> arrived;  // all pages, as they came
  size_t contents = kNoPage;    // the page that has the contents of the whole
};

}  // namespace

std::vector<OrderedPage> OrderOf(const Site& site,
                                 const std::vector<std::vector<bool>>& repeatedParts) {
  return Order(site, repeatedParts).Find();
}
