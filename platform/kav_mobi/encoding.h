// The book's text as UTF-8, whatever its code page.
#ifndef KAV_MOBI_ENCODING_H
#define KAV_MOBI_ENCODING_H

#include <iconv.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kav_mobi {

// Whether text is UTF-8 throughout.
bool isUtf8(std::string_view text);

// The number of bytes of the UTF-8 character at the start of text that a page may hold, 0 when
// there is none. Characters that XML forbids count as none.
size_t utf8CharacterLength(std::string_view text);

class TextDecoder {
 public:
  explicit TextDecoder(uint32_t codePage);
  ~TextDecoder();
  TextDecoder(const TextDecoder&) = delete;
  TextDecoder& operator=(const TextDecoder&) = delete;

  // Whether texts of this code page can be read.
  static bool knows(uint32_t codePage);

  // Appends raw to text as UTF-8. What is no character becomes U+FFFD; control characters other
  // than tab and line ends are dropped.
  void append(std::string_view raw, std::string& text);

  bool isUtf8() const { return !converter_; }

 private:
  void appendConverted(std::string_view raw, std::string& text);

  std::optional<iconv_t> converter_;
};

}  // namespace kav_mobi

#endif
