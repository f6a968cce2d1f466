// Makes the model of a book of pages.
#ifndef KAVEPUB_HTML_HTML_BOOK_H
#define KAVEPUB_HTML_HTML_BOOK_H

#include <vector>

#include "edition/book/source.h"

// A Source; see there.
Status MakeHtmlBook(const std::vector<Input>& inputs, const SourceOptions& options, BookSink& sink,
                    Run& run);

#endif
