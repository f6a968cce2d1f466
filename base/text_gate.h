// The gate for all texts and attribute values of a document: whatever comes in, XML goes out.
#ifndef KAV_BASE_TEXT_GATE_H
#define KAV_BASE_TEXT_GATE_H

#include <string>
#include <string_view>

// The bytes as XML 1.0 characters in UTF-8: each maximal run of bytes that begins no valid
// character becomes U+FFFD, as Unicode recommends, and characters that XML forbids are dropped.
std::string ToXmlCharacters(std::string_view bytes);

// The same, with references resolved: predefined ("&lt;"), numeric ("&#38;", "&#x26;") and HTML's
// named ones. A numeric reference to a forbidden character is dropped with it; an "&" that begins
// no reference stands for itself.
std::string ToXmlText(std::string_view bytes);

#endif
