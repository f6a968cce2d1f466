// What a page says of itself and of its neighbours.
#ifndef KAVEPUB_HTML_PAGE_HEAD_H
#define KAVEPUB_HTML_PAGE_HEAD_H

#include "edition/html/page.h"
#include "edition/html/page_tree.h"

// Fills in title, authors, language and such, style sheets, and the pages before and after.
void ReadHead(const GumboNode& root, HtmlPage& page);

#endif
