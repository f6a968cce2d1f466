// How the pages of a book look.
#ifndef KAVEPUB_EPUB_STYLE_SHEET_H
#define KAVEPUB_EPUB_STYLE_SHEET_H

#include <string>
#include <string_view>

// The style sheet for a book in a language; one of the host's comes after it.
std::string StyleSheet(std::string_view language, std::string_view further);

#endif
