// The making of one book.
#ifndef KAVEPUB_CONVERT_H
#define KAVEPUB_CONVERT_H

#include "hosts/kavepub/make/provenance.h"
#include "hosts/kavepub/make/workshop.h"
#include "hosts/kavepub/plan/book_order.h"
#include "hosts/kavepub/work/conversion.h"
#include "hosts/kavepub/work/progress.h"

// Makes the book that is ordered, and marks it with what it was made of. Throws a Failure, or
// Interrupted; a book that was at the output path before is then untouched.
Conversion ConvertBook(const BookOrder& order, const BookOptions& options, const Workshop& workshop,
                       const Provenance& provenance, Progress& progress);

// Finds out what it would be. Throws likewise, and Unsupported.
Conversion ExamineBook(const BookOrder& order, const BookOptions& options, const Workshop& workshop,
                       Progress& progress);

#endif
