// The identifier of a book, which its package and navigation documents share.
#ifndef KAV_EPUB_BOOK_IDENTIFIER_H
#define KAV_EPUB_BOOK_IDENTIFIER_H

#include <string>

// "urn:uuid:id_" and fourteen digits of the local time.
std::string NewBookIdentifier();

#endif
