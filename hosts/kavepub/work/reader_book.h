// Books of the reader's edition.
#ifndef KAVEPUB_READER_BOOK_H
#define KAVEPUB_READER_BOOK_H

#include <string>

#include "hosts/kavepub/plan/book_order.h"
#include "hosts/kavepub/work/progress.h"

// Whether an order is for a book of the reader's edition, which is made of such inputs.
bool IsForReaders(const BookOrder& order, const BookOptions& options);

// Writes the book to a descriptor, or only tells what it would be. `piped` is what came by the
// standard input, if the book is made of that. They throw a Failure, Unsupported before anything is
// written, NotWritten, or Interrupted.
BookReport MakeReadersBook(const BookOrder& order, const BookOptions& options,
                           const std::string& piped, int output, Progress& progress);
BookReport ExamineForReaders(const BookOrder& order, const BookOptions& options,
                             const std::string& piped, Progress& progress);

// What was found out, in a few words: "UTF-8, en, 61 chapters".
std::string RemarkOn(const BookReport& report);

#endif
