// Headings by a regular expression of the host's.
#ifndef KAVEPUB_TEXT_HEADING_PATTERN_H
#define KAVEPUB_TEXT_HEADING_PATTERN_H

#include <string>

#include "edition/book/result.h"
#include "edition/text/survey.h"

// Of PCRE2, in UTF-8, found anywhere in a line without the blanks around it; null of an empty one
// and of "none". KAVEPUB_E_ARGUMENT says where one is wrong.
Result<IsHeadingLine> PatternOf(const std::string& expression);

#endif
