// The making of one book.
#ifndef KAVEPUB_CONVERT_H
#define KAVEPUB_CONVERT_H

#include <optional>
#include <string>
#include <vector>

#include "hosts/kavepub/make/progress.h"
#include "hosts/kavepub/make/provenance.h"
#include "hosts/kavepub/plan/book_order.h"

struct Conversion {
  std::string remark;  // on how the input was read ("GB18030, one paragraph a line"), or empty
  std::vector<BookWarning> warnings = {};
  std::optional<BookReport> report = {};  // of the reader's edition
};

// Makes the book that is ordered, and marks it with what it was made of. Throws a Failure, or
// Interrupted; a book that was at the output path before is then untouched.
Conversion ConvertBook(const BookOrder& order, const BookOptions& options,
                       const Provenance& provenance, Progress& progress);

#endif
