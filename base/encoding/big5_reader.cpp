// Reads Big5, of which every system has its own.
#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

#include "base/encoding/converter.h"
#include "base/encoding/encoding_reader.h"
#include "base/utf8.h"

namespace {

constexpr unsigned kFirstLead = 0x81;
constexpr unsigned kLastLead = 0xFE;
constexpr unsigned kFirstTrail = 0x40;
constexpr unsigned kTrails = 0xFF - kFirstTrail;

// What ETEN put between the standard's rows: CP950 makes codes for private use of it.
constexpr unsigned kFirstOfEten = 0xC6A1;
constexpr unsigned kLastOfEten = 0xC8FE;

// Characters of ETEN and of Big5-2003 that Big5-HKSCS lacks as well.
constexpr struct {
  unsigned first, last;
  std::uint32_t codePoint;  // of the first
} kOthers[] = {
    {0xA3C0, 0xA3DF, 0x2400}, {0xA3E0, 0xA3E0, 0x2421}, {0xC6CF, 0xC6CF, 0x5EF4},
    {0xC6D3, 0xC6D3, 0x65E0}, {0xC6D5, 0xC6D5, 0x7676}, {0xC6D7, 0xC6D7, 0x96B6},
    {0xC6DE, 0xC6DE, 0x3003}, {0xC6DF, 0xC6DF, 0x4EDD},
};

// A character in UTF-8, or a letter with its accent, which takes no more; ended by NUL.
using Character = std::array<char, 4>;

std::string Decoded(Converter& converter, std::string_view code) {
  std::string text;
  const bool isKnown = converter.Exists() && converter.Decode(code, text) && code.empty();
  converter.Finish(text);
  return isKnown ? text : std::string();
}

std::string OtherCharacter(unsigned code) {
  std::string text;
  for (const auto& other : kOthers) {
    if (code < other.first || code > other.last) continue;
    AppendUtf8(other.codePoint + code - other.first, text);
  }
  return text;
}

std::vector<Character> AllCharacters() {
  Converter standard("CP950");
  Converter extended("BIG5-HKSCS");
  std::vector<Character> characters;
  for (unsigned code = kFirstLead << 8 | kFirstTrail; code <= (kLastLead << 8 | 0xFF); ++code) {
    if ((code & 0xFF) < kFirstTrail || (code & 0xFF) == 0xFF) continue;
    const char bytes[] = {static_cast<char>(code >> 8), static_cast<char>(code)};
    const std::string_view pair(bytes, sizeof bytes);
    std::string text;
    if (code < kFirstOfEten || code > kLastOfEten) text = Decoded(standard, pair);
    if (text.empty()) text = Decoded(extended, pair);
    if (text.empty()) text = OtherCharacter(code);
    std::copy_n(text.begin(), std::min(text.size(), sizeof(Character)),
                characters.emplace_back().begin());
  }
  return characters;
}

class Big5Reader : public EncodingReader {
 public:
  bool Read(std::string_view& input, std::string& out) override {
    while (!input.empty()) {
      if (static_cast<unsigned char>(input[0]) < 0x80) {
        out += input[0];
        input.remove_prefix(1);
        continue;
      }
      if (!IsLead(input[0])) return false;
      if (input.size() < 2) return true;
      const Character* character = Find(input[0], input[1]);
      if (character == nullptr) return false;
      for (const char byte : *character) {
        if (byte != '\0') out += byte;
      }
      input.remove_prefix(2);
    }
    return true;
  }

  size_t DamagedLength(std::string_view input) override {
    const bool isPair = IsLead(input[0]) && input.size() > 1;
    return isPair && static_cast<unsigned char>(input[1]) >= 0x80 ? 2 : 1;
  }

 private:
  static bool IsLead(char byte) {
    const auto value = static_cast<unsigned char>(byte);
    return value >= kFirstLead && value <= kLastLead;
  }

  // Null for what is no character.
  static const Character* Find(char lead, char trail) {
    static const std::vector<Character> kCharacters = AllCharacters();
    const size_t row = static_cast<unsigned char>(lead) - size_t{kFirstLead};
    const auto column = static_cast<unsigned char>(trail) - size_t{kFirstTrail};
    if (column >= kTrails) return nullptr;
    const Character& character = kCharacters[row * kTrails + column];
    return character[0] == '\0' ? nullptr : &character;
  }
};

}  // namespace

std::unique_ptr<EncodingReader> NewBig5Reader() {
  return std::make_unique<Big5Reader>();
}
