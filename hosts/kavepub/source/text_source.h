// The text of a file, made ready for the engine: UTF-8, with line feeds as line ends.
#ifndef KAVEPUB_TEXT_SOURCE_H
#define KAVEPUB_TEXT_SOURCE_H

#include <filesystem>
#include <string>

struct DecodingOptions {
  std::string encoding = "auto";  // or a name that iconv knows
  bool replaceErrors = false;     // undecodable bytes become U+FFFD instead of a Failure
};

struct TextSource {
  std::filesystem::path file;  // the input itself, when there was nothing to change
  std::string encoding;        // of the input, as found or declared
};

// Decodes a text into workDir: byte order mark and DOS end-of-file byte dropped, CR LF and CR made
// LF. Throws a Failure that names the first byte that cannot be decoded, or an encoding that does
// not exist.
TextSource PrepareText(const std::filesystem::path& text, const DecodingOptions& options,
                       const std::filesystem::path& workDir);

#endif
