// Dates as diaries have them over their entries.
#ifndef KAVEPUB_TEXT_DATES_H
#define KAVEPUB_TEXT_DATES_H

#include <string_view>

// The place in the year of a date that makes up a whole line ("Monday, May 3rd, 1893.", "3 mai",
// "1926年5月3日 晴"): later days have larger ones. 0 for other lines.
int ReadDateLine(std::string_view line);

#endif
