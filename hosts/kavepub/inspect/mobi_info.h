// What a MOBI book says of itself.
#ifndef KAVEPUB_MOBI_INFO_H
#define KAVEPUB_MOBI_INFO_H

#include <filesystem>

#include "hosts/kavepub/inspect/book_info.h"

// Fills in what the MOBI reader tells: title, author and pictures. Throws a Failure.
void ReadMobiInfo(const std::filesystem::path& book, BookInfo& info);

#endif
