// The order of a site's pages, and which of them belong to which.
#ifndef KAVEPUB_HTML_SITE_ORDER_H
#define KAVEPUB_HTML_SITE_ORDER_H

#include <vector>

#include "edition/html/site.h"

struct OrderedPage {
  size_t page;
  size_t level = 0;  // 0 is the highest
};

// As the pages say what comes next, or else as their lists of contents have it; what is in none
// comes beside the page that leads to it, or below it.
std::vector<OrderedPage> OrderOf(const Site& site,
                                 const std::vector<std::vector<bool>>& repeatedParts);

#endif
