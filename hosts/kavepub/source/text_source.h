// The text of a file, made ready for the engine: UTF-8, with line feeds as line ends.
#ifndef KAVEPUB_TEXT_SOURCE_H
#define KAVEPUB_TEXT_SOURCE_H

#include <filesystem>
#include <string>

// What becomes of a text with bytes that are no character: a Failure, or U+FFFD in their place.
// With kAuto so when few are damaged, a Failure otherwise.
enum class EncodingErrors { kAuto, kStrict, kReplace };

inline constexpr char kAutoEncoding[] = "auto";

struct DecodingOptions {
  std::string encoding = kAutoEncoding;  // or a name that iconv knows
  EncodingErrors errors = EncodingErrors::kAuto;
};

struct TextSource {
  std::filesystem::path file;  // the input itself, when there was nothing to change
  std::string encoding;        // of the input, as found or declared
  std::string warning;         // what could not be decoded; empty when all could
};

// Throws a Failure when there is no such encoding.
void RequireEncoding(const std::string& encoding);

// Decodes a text into workDir: byte order mark and DOS end-of-file byte dropped, CR LF and CR made
// LF. Throws a Failure that names the first byte that cannot be decoded, or an encoding that does
// not exist.
TextSource PrepareText(const std::filesystem::path& text, const DecodingOptions& options,
                       const std::filesystem::path& workDir);

#endif
