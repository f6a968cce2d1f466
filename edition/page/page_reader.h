// Reads a page.
#ifndef KAVEPUB_PAGE_PAGE_READER_H
#define KAVEPUB_PAGE_PAGE_READER_H

#include <string>

#include "edition/page/page.h"

// Of a page in UTF-8.
HtmlPage ReadPage(std::string html);

#endif
