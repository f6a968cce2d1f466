// Escaping of what stands for itself, and the references that markup has already.
#include "base/mobi/escaping.h"

#include <mobi.h>

#include <algorithm>
#include <charconv>

#include "base/mobi/encoding.h"

namespace kav_mobi {
namespace {

// Numeric references in this range mean characters of code page 1252 wherever they are met.
constexpr int kFirstC1 = 0x80;
constexpr int kLastC1 = 0x9F;

bool IsNameStart(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// The number of a reference such as "&#146;" or "&#x92;" at the start of text, and its length; none
// for another text.
struct Reference {
  int number = -1;
  size_t length = 0;
};
Reference NumericReference(std::string_view text) {
  constexpr std::string_view kStart = "&#";
  Reference reference;
  if (!text.starts_with(kStart)) return reference;
  const bool isHex = text.size() > 2 && (text[2] == 'x' || text[2] == 'X');
  const char* const digits = text.data() + kStart.size() + (isHex ? 1 : 0);
  const char* const last = text.data() + std::min<size_t>(text.size(), 12);
  if (digits >= last) return reference;
  int number = 0;
  const auto [end, error] = std::from_chars(digits, last, number, isHex ? 16 : 10);
  if (error != std::errc() || number < 0) return reference;
  reference.number = number;
  reference.length = static_cast<size_t>(end - text.data());
  if (reference.length < text.size() && text[reference.length] == ';') ++reference.length;
  return reference;
}

// What stands for the special character at the start of text, and how much of the text that takes;
// nothing is taken where a reference begins that stays.
struct Replacement {
  std::string text;
  size_t length = 1;
};
Replacement ReplacementFor(std::string_view text, TextKind kind) {
  if (text[0] == '<') return {"&lt;"};
  if (text[0] == '"') return {"&quot;"};
  if (kind == TextKind::kPlain) return {"&amp;"};
  if (const Reference reference = NumericReference(text); reference.length != 0) {
    if (reference.number < kFirstC1 || reference.number > kLastC1) return {{}, 0};
    const char byte = static_cast<char>(reference.number);
    Replacement character{{}, reference.length};
    TextDecoder(MOBI_CP1252).Append({&byte, 1}, character.text);
    return character;
  }
  if (text.size() < 2 || !IsNameStart(text[1])) return {"&amp;"};
  return {{}, 0};
}

}  // namespace

void AppendEscaped(std::string_view text, TextKind kind, const ByteSet& special, std::string& out) {
  size_t copied = 0;
  for (size_t at = special.FirstIn(text); at != std::string_view::npos;
       at = special.FirstIn(text, std::max(copied, at + 1))) {
    const auto [replacement, length] = ReplacementFor(text.substr(at), kind);
    if (length == 0) continue;
    out.append(text.substr(copied, at - copied)).append(replacement);
    copied = at + length;
  }
  out.append(text.substr(copied));
}

}  // namespace kav_mobi
