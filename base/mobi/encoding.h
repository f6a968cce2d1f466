// The book's text as UTF-8, whatever its code page.
#ifndef KAV_BASE_MOBI_ENCODING_H
#define KAV_BASE_MOBI_ENCODING_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "base/encoding/text_decoder.h"

namespace kav_mobi {

// Whether text is UTF-8 throughout.
bool IsUtf8(std::string_view text);

class TextDecoder {
 public:
  explicit TextDecoder(uint32_t codePage);

  // Whether texts of this code page can be read.
  static bool Knows(uint32_t codePage);

  // Appends raw to text as UTF-8. What is no character becomes U+FFFD; control characters other
  // than tab and line ends are dropped.
  void Append(std::string_view raw, std::string& text);

  bool IsUtf8() const { return !decoder; }

 private:
  std::optional<::TextDecoder> decoder;
};

}  // namespace kav_mobi

#endif
