// The making of one book.
#ifndef KAVEPUB_CONVERT_H
#define KAVEPUB_CONVERT_H

#include <string>

#include "hosts/kavepub/make/progress.h"
#include "hosts/kavepub/make/provenance.h"
#include "hosts/kavepub/plan/book_order.h"

// Makes the book that is ordered, marks it with what it was made of, and returns a remark on how
// that was read ("GB18030, one paragraph a line"), which may be empty. Throws a Failure, or
// Interrupted; a book that was at the output path before is then untouched.
std::string ConvertBook(const BookOrder& order, const BookOptions& options,
                        const Provenance& provenance, Progress& progress);

#endif
