// Guessing the encoding of a text from its bytes.
#ifndef KAV_BASE_ENCODING_DETECTION_H
#define KAV_BASE_ENCODING_DETECTION_H

#include <cstddef>
#include <string>
#include <string_view>

#include "base/encoding/text_decoder.h"

struct Detection {
  std::string encoding;  // a name that TextDecoder knows
  // The text is valid UTF-8 with LF line ends, and nothing in it is to be dropped.
  bool isReady = false;
  // So many NUL bytes that it is hardly a text.
  bool isBinary = false;
};

// The encoding of a whole text: the byte order mark first, then UTF-8 when all of it is valid, then
// what its bytes look like; UTF-8 when they look like nothing known, so that decoding tells where
// they go wrong.
class TextDetector {
 public:
  void Feed(std::string_view piece);

  // Whether the beginning has decided, so that nothing more need be fed.
  bool IsCertain() const { return !certain.empty(); }

  // To be called once, at the end of the text.
  Detection Finish();

 private:
  void JudgeBeginning();

  std::string beginning;
  std::string_view certain;
  std::string sample;  // from the first byte on that tells something
  TextDecoder utf8{"UTF-8"};
  std::string decoded;
  size_t decodedSize = 0;
  size_t size = 0;
  size_t nulBytes = 0;
  bool needsCleaning = false;
};

// The encoding that bytes look like which are no valid UTF-8, or ASCII with escape sequences; empty
// when they look like nothing known.
std::string GuessEncoding(std::string_view bytes);

#endif
