// The contents of a book of pages.
#ifndef KAVEPUB_HTML_SITE_CONTENTS_H
#define KAVEPUB_HTML_SITE_CONTENTS_H

#include <string>
#include <vector>

#include "edition/book/document.h"
#include "edition/html/site.h"
#include "edition/html/site_order.h"

// What a page is called: its first heading, or else what its head says.
std::string TitleOf(const HtmlPage& page, const std::vector<bool>& dropped);

// An entry for each page, in it those of its headings and of the pages that belong to it. Of a
// single page, its headings.
std::vector<ContentsEntry> ContentsOf(const Site& site, const std::vector<OrderedPage>& order,
                                      const std::vector<std::vector<bool>>& dropped);

#endif
