// Reads UTF-8.
#include <algorithm>
#include <cstdint>
#include <iterator>

#include "base/encoding/encoding_reader.h"
#include "base/utf8.h"

namespace {

// A character beyond U+FFFF as the two halves that it has in UTF-16, each written as if it were a
// character: what Java and some databases call UTF-8.
constexpr struct {
  unsigned char low, high;
} kPair[] = {{0xED, 0xED}, {0xA0, 0xAF}, {0x80, 0xBF}, {0xED, 0xED}, {0xB0, 0xBF}, {0x80, 0xBF}};

// Whether a text begins with a pair, or with as much of one as it has.
bool BeginsWithPair(std::string_view text) {
  for (size_t i = 0; i < std::min(text.size(), std::size(kPair)); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if (byte < kPair[i].low || byte > kPair[i].high) return false;
  }
  return true;
}

std::uint32_t HalfAt(std::string_view pair, size_t at) {
  const auto bits = [&](size_t index, unsigned mask) {
    return static_cast<unsigned char>(pair[index]) & mask;
  };
  return bits(at + 1, 0x0F) << 6 | bits(at + 2, 0x3F);
}

class Utf8Reader : public EncodingReader {
 public:
  bool Read(std::string_view& input, std::string& out) override {
    for (;;) {
      const size_t valid = ValidUtf8Length(input);
      out += input.substr(0, valid);
      input.remove_prefix(valid);
      if (input.empty()) return true;
      if (!BeginsWithPair(input)) return DecodeUtf8(input).kind == Utf8Unit::Kind::kUnfinished;
      if (input.size() < std::size(kPair)) return true;
      AppendUtf8(0x10000 + (HalfAt(input, 0) << 10 | HalfAt(input, 3)), out);
      input.remove_prefix(std::size(kPair));
    }
  }

  size_t DamagedLength(std::string_view input) override { return DecodeUtf8(input).length; }
};

}  // namespace

std::unique_ptr<EncodingReader> NewUtf8Reader() {
  return std::make_unique<Utf8Reader>();
}
