// The identifier of a book.
#ifndef KAVEPUB_EPUB_IDENTIFIER_H
#define KAVEPUB_EPUB_IDENTIFIER_H

#include <string>
#include <string_view>

// A UUID of version 5 (RFC 4122), as a URN, in the name space of the books that are known by what
// they hold.
std::string IdentifierOf(std::string_view name);

#endif
