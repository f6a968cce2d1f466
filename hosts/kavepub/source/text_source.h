// The text of an input, made ready for the engine: UTF-8, with line feeds as line ends.
#ifndef KAVEPUB_TEXT_SOURCE_H
#define KAVEPUB_TEXT_SOURCE_H

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "hosts/kavepub/source/edition_job.h"

struct TextSource {
  std::string encoding;             // of the input, as found or declared
  bool linesAreParagraphs = false;  // as it looks
  std::vector<BookWarning> warnings = {};
};

// Writes the characters of a text, or of what was piped, to a new file. `encoding` and `errors` are
// values of the library's options of these names. Throws a Failure, or Interrupted.
TextSource DecodeText(const std::filesystem::path& text, std::optional<std::string_view> piped,
                      const std::string& encoding, const std::string& errors,
                      const std::filesystem::path& target);

#endif
