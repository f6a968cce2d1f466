// What holds for every book of the reader's edition that is made of markup.
#ifndef KAV_EPUB_FUZZ_READERS_BOOK_CHECK_H
#define KAV_EPUB_FUZZ_READERS_BOOK_CHECK_H

#include <string>

// Requires that all parts are well-formed and its pages valid, that links lead to places that are
// there or out of the book, that nothing runs, and that no part holds the secret. The text of the
// pages that the first document has become.
std::string CheckReadersBook(const std::string& path, const std::string& secret);

#endif
