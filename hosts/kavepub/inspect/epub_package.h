// The package document of an EPUB file.
#ifndef KAVEPUB_EPUB_PACKAGE_H
#define KAVEPUB_EPUB_PACKAGE_H

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include "hosts/kavepub/source/edition_job.h"

struct EpubPackage {
  std::string identifier;
  std::string title;
  std::string author;
  std::string language;
  std::size_t pages = 0;
  std::size_t pictures = 0;
  std::vector<BookReport::Chapter> contents = {};  // of its navigation
};

// Throws a Failure when the file is no EPUB, or damaged.
EpubPackage ReadEpubPackage(const std::filesystem::path& book);

#endif
