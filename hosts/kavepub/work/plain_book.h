// Books of the plain edition.
#ifndef KAVEPUB_PLAIN_BOOK_H
#define KAVEPUB_PLAIN_BOOK_H

#include <filesystem>
#include <string>

#include "hosts/kavepub/plan/book_order.h"
#include "hosts/kavepub/work/conversion.h"
#include "hosts/kavepub/work/progress.h"

// Makes the book in an empty directory of its own and copies it to a descriptor. `piped` is what
// came by the standard input, if the book is made of that. Throws a Failure, NotWritten, or
// Interrupted.
Conversion MakePlainBook(const BookOrder& order, const BookOptions& options,
                         const std::string& piped, const std::filesystem::path& workDir, int output,
                         Progress& progress);

#endif
