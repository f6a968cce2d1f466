// The picture that a person names as the cover.
#ifndef KAVEPUB_COVER_H
#define KAVEPUB_COVER_H

#include <filesystem>

#include "service/epub_service.h"

// Makes the picture the first page of the book that `service` has begun in workDir. A picture whose
// name does not tell its type is taken by its content. Throws a Failure.
void AddCover(const TEpubService& service, const std::filesystem::path& picture,
              const std::filesystem::path& workDir);

#endif
