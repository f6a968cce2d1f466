// How the bytes of an encoding are read.
#ifndef KAV_BASE_ENCODING_ENCODING_READER_H
#define KAV_BASE_ENCODING_ENCODING_READER_H

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

inline constexpr std::string_view kUtf8 = "UTF-8";

// Begins what switches between the character sets of ISO-2022.
inline constexpr char kEscape = '\x1B';

class EncodingReader {
 public:
  virtual ~EncodingReader() = default;

  // Removes the characters at the beginning of input, as many as it can, and appends them to out in
  // UTF-8. False when it stopped at bytes that are no character, true at the end or inside a last
  // character.
  virtual bool Read(std::string_view& input, std::string& out) = 0;

  // The bytes at the beginning of input, where reading stopped, that make up one damage.
  virtual size_t DamagedLength(std::string_view input) = 0;

  // Appends a character that was held back.
  virtual void Finish(std::string& /*out*/) {}
};

// UTF-8, with the characters that some programs write as two surrogates.
std::unique_ptr<EncodingReader> NewUtf8Reader();

// CP950, and what that lacks as Big5-HKSCS with the extensions of ETEN.
std::unique_ptr<EncodingReader> NewBig5Reader();

// ISO-2022-JP with the character sets of its successors and the extensions of CP932.
std::unique_ptr<EncodingReader> NewIso2022JpReader();

// Any encoding that iconv knows; null for others.
std::unique_ptr<EncodingReader> NewIconvReader(const std::string& encoding);

#endif
