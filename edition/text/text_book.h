// Makes the model of a book of a plain text.
#ifndef KAVEPUB_TEXT_TEXT_BOOK_H
#define KAVEPUB_TEXT_TEXT_BOOK_H

#include <vector>

#include "edition/book/source.h"

// A Source; see there.
Status MakeTextBook(const std::vector<Input>& inputs, const SourceOptions& options, BookSink& sink,
                    Run& run);

#endif
