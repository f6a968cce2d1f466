// The encoding of foreign HTML.
#ifndef KAV_BASE_ENCODING_HTML_ENCODING_H
#define KAV_BASE_ENCODING_HTML_ENCODING_H

#include <optional>
#include <string>
#include <string_view>

#include "base/read_file.h"

// The text of an HTML file as XML characters in UTF-8. A byte order mark decides on its encoding,
// else the given one, if there is one of that name. Without both, valid UTF-8 is taken as such, and
// other bytes are decoded as the file declares, unless they contradict that or it declares nothing:
// then as what they look like. What cannot be decoded becomes U+FFFD.
std::string HtmlToUtf8(std::string_view bytes, std::string_view encoding = {});

// The same of a file; nothing when it cannot be read.
std::optional<std::string> ReadHtmlFile(const char* path, std::string_view encoding = {},
                                        const FileIdentity* expected = nullptr);

#endif
