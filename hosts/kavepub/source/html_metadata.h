// What an HTML page says of itself.
#ifndef KAVEPUB_HTML_METADATA_H
#define KAVEPUB_HTML_METADATA_H

#include <filesystem>
#include <string>

struct HtmlMetadata {
  std::string title;   // of its <title>, white space folded; empty when it has none
  std::string author;  // of its author meta element; empty when it has none
};

// The encoding may be empty, or one that there is not: it is found out then.
HtmlMetadata ReadHtmlMetadata(const std::filesystem::path& page, const std::string& encoding);

#endif
