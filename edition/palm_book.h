// What Palm devices and their heirs read: MOBI books and PalmDOC texts.
#ifndef KAVEPUB_PALM_BOOK_H
#define KAVEPUB_PALM_BOOK_H

#include "edition/book/source.h"

Status MakePalmBook(const std::vector<Input>& inputs, const SourceOptions& options, BookSink& sink,
                    Run& run);

#endif
