// Guessing the encoding of a text from its bytes.
#ifndef KAVEPUB_ENCODING_DETECTION_H
#define KAVEPUB_ENCODING_DETECTION_H

#include <filesystem>
#include <string>
#include <string_view>

inline constexpr std::string_view kUtf8 = "UTF-8";
inline constexpr char kDosEndOfFile = '\x1A';

// The encoding by a byte order mark at the beginning, with the mark's length; empty without one.
struct ByteOrderMark {
  std::string_view encoding;
  size_t length = 0;
};
ByteOrderMark FindByteOrderMark(std::string_view beginning);

struct Detection {
  std::string encoding;  // a name that iconv knows
  // The text is valid UTF-8, without a mark, a carriage return or an end-of-file byte.
  bool isReady = false;
};

// The encoding of a whole text: the byte order mark first, then UTF-8 when all of it is valid, then
// what its bytes look like; UTF-8 when they look like nothing known, so that decoding tells where
// they go wrong. Throws a Failure when the file cannot be read.
Detection DetectEncoding(const std::filesystem::path& text);

#endif
