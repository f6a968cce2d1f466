// The parts that pages of a site have around their contents.
#ifndef KAVEPUB_HTML_REPEATED_PARTS_H
#define KAVEPUB_HTML_REPEATED_PARTS_H

#include <vector>

#include "edition/html/site.h"

// For each page and each of its parts, whether it is to be left out.
std::vector<std::vector<bool>> RepeatedParts(const SitePages& pages);

#endif
