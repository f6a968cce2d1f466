// The contents of a book, as its navigation document and as pages to read.
#ifndef KAVEPUB_EPUB_NAVIGATION_H
#define KAVEPUB_EPUB_NAVIGATION_H

#include <string>
#include <string_view>
#include <vector>

#include "edition/book/document.h"
#include "edition/book/metadata.h"
#include "edition/epub/page_links.h"

// What an entry of the contents leads to, as pages refer to it.
std::string LinkTo(const ContentsEntry& entry, const PageLinks& links);

// The navigation document (NCX); of contents without entries, the book itself is the only one.
std::string NavigationDocument(const Metadata& metadata, std::string_view identifier,
                               const std::vector<ContentsEntry>& contents, const PageLinks& links);

// Nested lists of links below a heading, in as many pages as their length asks for.
std::vector<std::string> ContentsPages(std::string_view heading,
                                       const std::vector<ContentsEntry>& contents,
                                       const PageLinks& links, size_t mostBytes);

#endif
