// All books in one file.
#ifndef KAVEPUB_SERVE_ARCHIVE_H
#define KAVEPUB_SERVE_ARCHIVE_H

#include <vector>

#include "hosts/serve/http/exchange.h"
#include "hosts/serve/shelf/shelf.h"

// A ZIP container of books, which is made of their files while it is sent. Throws a Refused when
// they are too much for one.
Streamed ArchiveOf(const std::vector<Finished>& books);

#endif
