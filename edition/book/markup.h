// Texts on their way into markup.
#ifndef KAVEPUB_BOOK_MARKUP_H
#define KAVEPUB_BOOK_MARKUP_H

#include <string>
#include <string_view>

// Appends a text so that it stands for itself as content and as a value in double quotes. Its
// characters are those that XML allows.
void AppendEscaped(std::string_view text, std::string& markup);

std::string Escaped(std::string_view text);

#endif
