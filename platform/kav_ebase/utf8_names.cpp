// Whether an entry's name must be marked as UTF-8.
#include "platform/kav_ebase/utf8_names.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace {

// A form of more than one byte: the range of its first and second byte, and its length. The second
// byte's range shuts out overlong forms, surrogates and what lies above U+10FFFF.
struct Form {
  unsigned char firstLow, firstHigh, secondLow, secondHigh;
  size_t length;
};
constexpr std::array<Form, 8> kForms{{{0xC2, 0xDF, 0x80, 0xBF, 2},
                                      {0xE0, 0xE0, 0xA0, 0xBF, 3},
                                      {0xE1, 0xEC, 0x80, 0xBF, 3},
                                      {0xED, 0xED, 0x80, 0x9F, 3},
                                      {0xEE, 0xEF, 0x80, 0xBF, 3},
                                      {0xF0, 0xF0, 0x90, 0xBF, 4},
                                      {0xF1, 0xF3, 0x80, 0xBF, 4},
                                      {0xF4, 0xF4, 0x80, 0x8F, 4}}};

bool Between(char byte, unsigned char low, unsigned char high) {
  const auto value = static_cast<unsigned char>(byte);
  return low <= value && value <= high;
}

bool IsAscii(char byte) {
  return Between(byte, 0, 0x7F);
}

// The length of the character at the start of text, which is not ASCII; 0 when it is not UTF-8.
size_t CharacterLength(std::string_view text) {
  const auto* form = std::find_if(kForms.begin(), kForms.end(), [&](const Form& candidate) {
    return Between(text[0], candidate.firstLow, candidate.firstHigh);
  });
  if (form == kForms.end() || text.size() < form->length) return 0;
  if (!Between(text[1], form->secondLow, form->secondHigh)) return 0;
  const std::string_view rest = text.substr(2, form->length - 2);
  const bool valid =
      std::all_of(rest.begin(), rest.end(), [](char byte) { return Between(byte, 0x80, 0xBF); });
  return valid ? form->length : 0;
}

}  // namespace

bool NeedsUtf8Flag(std::string_view name) {
  if (std::all_of(name.begin(), name.end(), IsAscii)) return false;
  while (!name.empty()) {
    const size_t length = IsAscii(name[0]) ? 1 : CharacterLength(name);
    if (length == 0) return false;
    name.remove_prefix(length);
  }
  return true;
}
