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
bool IsUtf8(std::string_view text);

class TextDecoder {
 public:
  explicit TextDecoder(uint32_t codePage);
  ~TextDecoder();
  TextDecoder(const TextDecoder&) = delete;
  TextDecoder& operator=(const TextDecoder&) = delete;

  // Whether texts of this code page can be read.
  static bool Knows(uint32_t codePage);

  // Appends raw to text as UTF-8. What is no character becomes U+FFFD; control characters other
  // than tab and line ends are dropped.
  void Append(std::string_view raw, std::string& text);

  bool IsUtf8() const { return !converter; }

 private:
  void AppendConverted(std::string_view raw, std::string& text);

  std::optional<iconv_t> converter;
};

}  // namespace kav_mobi

#endif
