// Books from plain text.
#ifndef KAVEPUB_TEXT_BOOK_H
#define KAVEPUB_TEXT_BOOK_H

#include <filesystem>

#include "hosts/kavepub/work/progress.h"
#include "hosts/kavepub/work/service.h"

// Add all pages of a text in UTF-8 to the book that `service` has begun. A wrapped text gets the
// lines, pages and paragraphs of the engine's own text conversion; otherwise each line that is not
// blank becomes a paragraph. They throw a Failure, or Interrupted.
void AddWrappedText(const Service& service, const std::filesystem::path& text, Progress& progress);
void AddTextOfParagraphs(const Service& service, const std::filesystem::path& text,
                         Progress& progress);

#endif
