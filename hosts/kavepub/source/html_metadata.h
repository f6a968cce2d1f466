// What an HTML page says of itself.
#ifndef KAVEPUB_HTML_METADATA_H
#define KAVEPUB_HTML_METADATA_H

#include <filesystem>
#include <string>

struct HtmlMetadata {
  std::string title;   // of its <title>, white space folded; empty when it has none
  std::string author;  // of its author meta element; empty when it has none
};

HtmlMetadata ReadHtmlMetadata(const std::filesystem::path& page);

#endif
