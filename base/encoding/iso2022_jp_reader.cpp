// Reads ISO-2022-JP, which switches between character sets of seven bits by escape sequences.
#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>

#include "base/encoding/converter.h"
#include "base/encoding/encoding_reader.h"

namespace {

// A character set, by its place in the encoding of all of them with eight bits.
struct CharacterSet {
  std::string_view escape;
  size_t bytes;             // of a character; 0 for ASCII and what is nearly that
  std::string_view prefix;  // in EUC-JP
};

constexpr CharacterSet kSets[] = {
    {"\x1B(B", 0, ""},     {"\x1B(J", 0, ""},      {"\x1B$B", 2, ""},  {"\x1B$@", 2, ""},
    {"\x1B(I", 1, "\x8E"}, {"\x1B$(D", 2, "\x8F"}, {"\x1B$(B", 2, ""}, {"\x1B&@", 0, ""},
};
constexpr const CharacterSet* kAscii = &kSets[0];

bool IsGraphic(char byte) {
  return byte > ' ' && byte < '\x7F';
}

class Iso2022JpReader : public EncodingReader {
 public:
  Iso2022JpReader() : converter("EUC-JP-MS") {}

  bool Read(std::string_view& input, std::string& out) override {
    while (!input.empty()) {
      if (input[0] == kEscape) {
        if (!Switch(input)) return IsUnfinishedEscape(input);
      } else if (set->bytes == 0 || !IsGraphic(input[0])) {
        if (static_cast<unsigned char>(input[0]) >= 0x80) return false;
        if (input[0] == '\n' || input[0] == '\r') set = kAscii;  // lost escapes cost one line
        out += input[0];
        input.remove_prefix(1);
      } else {
        if (input.size() < set->bytes) return true;
        if (!ReadCharacter(input.substr(0, set->bytes), out)) return false;
        input.remove_prefix(set->bytes);
      }
    }
    return true;
  }

  size_t DamagedLength(std::string_view input) override {
    const bool isPair = set->bytes == 2 && input.size() > 1 && IsGraphic(input[0]);
    return isPair && IsGraphic(input[1]) ? 2 : 1;
  }

 private:
  bool Switch(std::string_view& input) {
    const auto* found = std::find_if(std::begin(kSets), std::end(kSets), [&](const auto& other) {
      return input.starts_with(other.escape);
    });
    if (found == std::end(kSets)) return false;
    set = found;
    input.remove_prefix(found->escape.size());
    return true;
  }

  static bool IsUnfinishedEscape(std::string_view input) {
    return std::any_of(std::begin(kSets), std::end(kSets),
                       [&](const auto& other) { return other.escape.starts_with(input); });
  }

  bool ReadCharacter(std::string_view bytes, std::string& out) {
    if (!std::all_of(bytes.begin(), bytes.end(), IsGraphic)) return false;
    std::string code(set->prefix);
    for (const char byte : bytes) code += static_cast<char>(byte | '\x80');
    std::string_view rest = code;
    return converter.Decode(rest, out) && rest.empty();
  }

  Converter converter;
  const CharacterSet* set = kAscii;
};

}  // namespace

std::unique_ptr<EncodingReader> NewIso2022JpReader() {
  return std::make_unique<Iso2022JpReader>();
}
