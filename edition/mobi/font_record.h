// Fonts as MOBI books hold them.
#ifndef KAVEPUB_MOBI_FONT_RECORD_H
#define KAVEPUB_MOBI_FONT_RECORD_H

#include <string>
#include <string_view>

// Whether a resource is one of these; its first byte does not count.
bool IsFontRecord(std::string_view record);

// The file of the font, unscrambled and unpacked; empty for what is damaged.
std::string FontOf(std::string_view record);

#endif
