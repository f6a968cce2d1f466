// The tree of an orderly page: of one in which browsers have nothing to mend.
#ifndef KAVEPUB_PAGE_ORDERLY_TREE_H
#define KAVEPUB_PAGE_ORDERLY_TREE_H

#include <gumbo.h>

#include <string_view>

#include "edition/page/arena.h"

// The "html" element of a page in UTF-8, as Gumbo makes it but for comments and for where things
// stand in the source; nothing where the page is none of these. Lives as long as both. Takes a
// tenth of Gumbo's time.
const GumboNode* OrderlyTreeOf(std::string_view source, Arena& arena);

#endif
