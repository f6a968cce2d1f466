// The contents of a book, as its navigation document and as pages to read.
#include "edition/epub/navigation.h"

#include <algorithm>
#include <unordered_map>
#include <utility>

#include "edition/book/markup.h"
#include "edition/epub/page.h"

namespace {

constexpr std::string_view kNcxBegin =
    "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
    "<!DOCTYPE ncx PUBLIC \"-//NISO//DTD ncx 2005-1//EN\" "
    "\"http://www.daisy.org/z3986/2005/ncx-2005-1.dtd\">\n"
    "<ncx xmlns=\"http://www.daisy.org/z3986/2005/ncx/\" version=\"2005-1\" xml:lang=\"";
constexpr std::string_view kNcxEnd = "</navMap>\n</ncx>\n";

constexpr std::string_view kListBegin = "<ol class=\"contents\">\n";
constexpr std::string_view kListEnd = "</ol>\n";

size_t DepthOf(const std::vector<ContentsEntry>& entries) {
  size_t deepest = 0;
  for (const ContentsEntry& entry : entries) {
    deepest = std::max(deepest, DepthOf(entry.children));
  }
  return entries.empty() ? 0 : deepest + 1;
}

void PutNcxMeta(std::string_view name, std::string_view content, std::string& ncx) {
  ncx.append("<meta name=\"").append(name).append("\" content=\"");
  AppendEscaped(content, ncx);
  ncx += "\"/>\n";
}

void PutText(std::string_view element, std::string_view text, std::string& ncx) {
  ncx.append("<").append(element).append("><text>");
  AppendEscaped(text, ncx);
  ncx.append("</text></").append(element).append(">");
}

// Numbers the navigation points; those that lead to the same place share a place in the order.
class NavigationMap {
 public:
  NavigationMap(const PageLinks& pageLinks, std::string& document)
      : links(pageLinks), ncx(document) {}

  void Put(const std::vector<ContentsEntry>& entries) {
    for (const ContentsEntry& entry : entries) {
      const std::string target = LinkTo(entry, links);
      const size_t order = orders.emplace(target, orders.size() + 1).first->second;
      ncx.append("<navPoint id=\"n").append(std::to_string(++points));
      ncx.append("\" playOrder=\"").append(std::to_string(order)).append("\">");
      PutText("navLabel", entry.title, ncx);
      ncx.append("<content src=\"");
      AppendEscaped(target, ncx);
      ncx.append("\"/>");
      if (!entry.children.empty()) ncx += '\n';
      Put(entry.children);
      ncx += "</navPoint>\n";
    }
  }

 private:
  const PageLinks& links;
  std::string& ncx;
  std::unordered_map<std::string, size_t> orders;
  size_t points = 0;
};

class ContentsWriter {
 public:
  ContentsWriter(const PageLinks& pageLinks, size_t mostBytes)
      : links(pageLinks), room(mostBytes) {}

  std::vector<std::string> Write(std::string_view heading,
                                 const std::vector<ContentsEntry>& contents) {
    page.append("<h1 class=\"contents-heading\">");
    AppendEscaped(heading, page);
    page.append("</h1>\n");
    Put(contents);
    pages.push_back(std::move(page));
    return std::move(pages);
  }

 private:
  void Put(const std::vector<ContentsEntry>& entries) {
    page += kListBegin;
    ++depth;
    for (const ContentsEntry& entry : entries) {
      const bool isFirst = &entry == &entries.front();  // a list may not be empty
      if (page.size() > room && !isFirst) TurnPage();
      page += "<li><a href=\"";
      AppendEscaped(LinkTo(entry, links), page);
      page += "\">";
      AppendEscaped(entry.title, page);
      page += "</a>";
      const bool hasList = !entry.children.empty() && entry.children.front().isOnPage;
      if (hasList) Put(entry.children);
      page += "</li>\n";
    }
    --depth;
    page += kListEnd;
  }

  // Ends all lists that are open, and begins them again on the next page.
  void TurnPage() {
    for (size_t level = depth; level > 0; --level) {
      page += kListEnd;
      if (level > 1) page += "</li>\n";
    }
    pages.push_back(std::move(page));
    page.clear();
    for (size_t level = 1; level <= depth; ++level) {
      if (level > 1) page += "<li>";
      page += kListBegin;
    }
  }

  const PageLinks& links;
  size_t room;
  size_t depth = 0;
  std::string page;
  std::vector<std::string> pages;
};

}  // namespace

std::string LinkTo(const ContentsEntry& entry, const PageLinks& links) {
  if (entry.anchor.empty()) return PageName(entry.document);
  return PageName(entry.document, links.PageOf(entry.document, entry.anchor)) + "#" + entry.anchor;
}

std::string NavigationDocument(const Metadata& metadata, std::string_view identifier,
                               const std::vector<ContentsEntry>& contents, const PageLinks& links) {
  std::vector<ContentsEntry> whole;
  if (contents.empty()) whole.push_back({metadata.title, 0, {}, 0, {}});
  const std::vector<ContentsEntry>& entries = contents.empty() ? whole : contents;

  std::string ncx(kNcxBegin);
  AppendEscaped(metadata.language, ncx);
  ncx += "\">\n<head>\n";
  PutNcxMeta("dtb:uid", identifier, ncx);
  PutNcxMeta("dtb:depth", std::to_string(DepthOf(entries)), ncx);
  PutNcxMeta("dtb:totalPageCount", "0", ncx);
  PutNcxMeta("dtb:maxPageNumber", "0", ncx);
  ncx += "</head>\n";
  PutText("docTitle", metadata.title, ncx);
  for (const Contributor& contributor : metadata.contributors) {
    if (contributor.role == kAuthorRole) PutText("docAuthor", contributor.name, ncx);
  }
  ncx += "\n<navMap>\n";
  NavigationMap(links, ncx).Put(entries);
  return ncx.append(kNcxEnd);
}

std::vector<std::string> ContentsPages(std::string_view heading,
                                       const std::vector<ContentsEntry>& contents,
                                       const PageLinks& links, size_t mostBytes) {
  return ContentsWriter(links, mostBytes).Write(heading, contents);
}
