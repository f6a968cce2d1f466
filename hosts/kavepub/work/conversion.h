// What there is to tell of a book that was made.
#ifndef KAVEPUB_CONVERSION_H
#define KAVEPUB_CONVERSION_H

#include <optional>
#include <string>
#include <vector>

#include "hosts/kavepub/source/edition_job.h"

struct Conversion {
  std::string remark;  // on how the input was read ("GB18030, one paragraph a line"), or empty
  std::vector<BookWarning> warnings = {};
  std::optional<BookReport> report = {};  // of the reader's edition
};

#endif
