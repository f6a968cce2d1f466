// Whether an entry's name must be marked as UTF-8.
#ifndef KAV_EBASE_UTF8_NAMES_H
#define KAV_EBASE_UTF8_NAMES_H

#include <string_view>

// True for valid UTF-8 with a character beyond ASCII. For plain ASCII the mark would change
// nothing, and for other bytes it would lie.
bool NeedsUtf8Flag(std::string_view name);

#endif
