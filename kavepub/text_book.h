// Books from plain text.
#ifndef KAVEPUB_TEXT_BOOK_H
#define KAVEPUB_TEXT_BOOK_H

#include <filesystem>

#include "kavepub/progress_bar.h"
#include "service/epub_service.h"

// Adds all pages of a text in UTF-8 to the book that `service` has begun, with the lines, pages and
// paragraphs of the engine's own text conversion. Throws a Failure, or Interrupted.
void AddTextPages(const TEpubService& service, const std::filesystem::path& text,
                  ProgressBar& progress);

#endif
