// Finds ids again in documents that have become several pages.
#ifndef KAVEPUB_EPUB_PAGE_LINKS_H
#define KAVEPUB_EPUB_PAGE_LINKS_H

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>

class PageLinks {
 public:
  // Notes the ids in a page of a document that has several.
  void NoteIds(size_t document, size_t page, std::string_view body);

  // Which page of a document has the id: its first one, where no other is known to.
  size_t PageOf(size_t document, std::string_view id) const;

  // Makes all links of a page lead to the pages on which their ids are. Of the documents from
  // `unfinished` on, not all ids are known yet: where a link needs one of these, the result is
  // false, and the page is to be tried again later.
  bool Resolve(size_t document, size_t page, size_t unfinished, std::string& body) const;

 private:
  static std::string Key(size_t document, std::string_view id);

  std::unordered_map<std::string, size_t> pages;
};

#endif
