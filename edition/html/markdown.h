// Markdown as HTML.
#ifndef KAVEPUB_HTML_MARKDOWN_H
#define KAVEPUB_HTML_MARKDOWN_H

#include <string>
#include <string_view>

#include "edition/book/result.h"

// By the name of a file.
bool IsMarkdown(std::string_view path);

// Whether the library for it is there.
bool CanReadMarkdown();

// A page of a text in UTF-8, with tables, footnotes, task lists and the ids of its headings. What
// stands between lines of "---" at its beginning becomes what the page says of itself. Its HTML is
// that of strangers, as that of any page. A failure where the library for it is not installed.
Result<std::string> MarkdownToHtml(std::string_view markdown);

#endif
