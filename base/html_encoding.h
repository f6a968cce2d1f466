// The encoding of foreign HTML.
#ifndef KAV_BASE_HTML_ENCODING_H
#define KAV_BASE_HTML_ENCODING_H

#include <string>
#include <string_view>

// The text of an HTML file as XML characters in UTF-8. Valid UTF-8 is taken as such; other bytes
// are decoded by their byte order mark, else by the encoding that the file declares, else as the
// nearest of UTF-8 and windows-1252. What cannot be decoded becomes U+FFFD.
std::string HtmlToUtf8(std::string_view bytes);

// The same for a file whose encoding is known; a null or unknown one is found out as above.
std::string HtmlToUtf8(std::string_view bytes, const char* encoding);

#endif
