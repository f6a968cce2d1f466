// Sets of bytes, and where the first of them is in a text: faster than a search of the standard
// library, which looks each byte of the text up in the list.
#ifndef KAV_BYTE_SET_H
#define KAV_BYTE_SET_H

#include <array>
#include <cstddef>
#include <string_view>

class ByteSet {
 public:
  constexpr explicit ByteSet(std::string_view bytes) {
    for (const char c : bytes) has[static_cast<unsigned char>(c)] = true;
  }

  constexpr bool Has(char c) const { return has[static_cast<unsigned char>(c)]; }

  // From `at` on; npos when there is none.
  constexpr size_t FirstIn(std::string_view text, size_t at = 0) const {
    while (at < text.size() && !Has(text[at])) ++at;
    return at < text.size() ? at : std::string_view::npos;
  }

 private:
  std::array<bool, 256> has = {};
};

#endif
