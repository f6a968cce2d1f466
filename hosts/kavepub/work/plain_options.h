// What the plain edition takes of the options of books.
#ifndef KAVEPUB_PLAIN_OPTIONS_H
#define KAVEPUB_PLAIN_OPTIONS_H

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "hosts/kavepub/source/edition_job.h"

inline constexpr char kAuto[] = "auto";

struct PlainOptions {
  std::optional<std::string> title;   // none: the document's own, or the name of the input
  std::optional<std::string> author;  // none: the document's own, or none
  std::filesystem::path cover;        // empty: none
  bool wantsNoCover = false;          // was said expressly
  // As the library has them: by name, or "auto"; "strict", "replace"; "line", "wrapped".
  std::string encoding = kAuto;
  std::string encodingErrors = kAuto;
  std::string paragraphs = kAuto;
  std::vector<std::string> ignored = {};  // the names of others that were chosen
};

PlainOptions PlainOptionsOf(const EditionOptions& chosen);

#endif
