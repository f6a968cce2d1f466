// Reads a page.
#ifndef KAVEPUB_HTML_PAGE_READER_H
#define KAVEPUB_HTML_PAGE_READER_H

#include <string>

#include "edition/html/page.h"

// Of a page in UTF-8.
HtmlPage ReadPage(std::string html);

#endif
