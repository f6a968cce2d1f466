// The source of MOBI books of the old and the new format.
#ifndef KAVEPUB_MOBI_MOBI_BOOK_H
#define KAVEPUB_MOBI_MOBI_BOOK_H

#include "base/mobi/reader.h"
#include "edition/book/result.h"
#include "edition/book/run.h"
#include "edition/book/sink.h"
#include "edition/book/source.h"

// Of a book with markup.
Status MakeMobiBook(const kav_mobi::Book& book, const SourceOptions& options, BookSink& sink,
                    Run& run);

#endif
