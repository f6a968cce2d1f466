// A page of a book: its name and its frame.
#ifndef KAVEPUB_EPUB_PAGE_H
#define KAVEPUB_EPUB_PAGE_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "edition/book/document.h"

inline constexpr char kXhtmlType[] = "application/xhtml+xml";
inline constexpr char kStyleSheetName[] = "style.css";
inline constexpr char kCssType[] = "text/css";
inline constexpr char kFurtherSheetName[] = "further.css";
inline constexpr char kPagePrefix[] = "page-";
inline constexpr char kPageSuffix[] = ".xhtml";

// The name of a page of a document; both are numbered from 0.
std::string PageName(size_t document, size_t page = 0);

struct Page {
  std::string_view title;     // plain text
  std::string_view language;  // a tag of BCP 47
  std::string_view bodyClass;
  std::string_view body;
  const Document::Look* look = nullptr;  // else the book's
  bool hasFurtherSheet = false;          // of the host, behind those of the look
};

// The whole file.
std::string PageFile(const Page& page);

#endif
