// What a page says of itself and of its neighbours.
#ifndef KAVEPUB_PAGE_PAGE_HEAD_H
#define KAVEPUB_PAGE_PAGE_HEAD_H

#include "edition/page/page.h"
#include "edition/page/page_tree.h"

// Fills in title, authors, language and such, style sheets, and the pages before and after.
void ReadHead(const GumboNode& root, HtmlPage& page);

#endif
