// The rewriting of strings: replacing of a pattern from the end on, and decoding of URL escapes.
#include <algorithm>
#include <string_view>
#include <vector>

#include "xml/xml_base.h"

namespace {

// The characters that are decoded; all other escapes stay as they are.
constexpr std::string_view kDecoded = " !#$&'()*+,/:;=?@[]";

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

// The character that the escape at the beginning of text stands for; NUL when it is not decoded.
char DecodeEscape(std::string_view text) {
  if (text.size() < 3 || text[0] != '%') return '\0';
  const int high = HexValue(text[1]);
  const int low = HexValue(text[2]);
  if (high < 0 || low < 0) return '\0';
  const char c = static_cast<char>(high * 16 + low);
  return kDecoded.find(c) == std::string_view::npos ? '\0' : c;
}

// Text that grows at its beginning, and knows how much of a pattern each of its beginnings matches
// (Knuth, Morris and Pratt's search, run backwards).
class BackwardMatcher {
 public:
  explicit BackwardMatcher(std::string_view patternText)
      : pattern(patternText.rbegin(), patternText.rend()), fallback(pattern.size() + 1, 0) {
    for (size_t length = 2; length <= pattern.size(); ++length) {
      size_t matched = fallback[length - 1];
      while (matched > 0 && pattern[matched] != pattern[length - 1]) matched = fallback[matched];
      fallback[length] = matched + (pattern[matched] == pattern[length - 1] ? 1 : 0);
    }
  }

  void Prepend(char c) {
    size_t matched = matches.empty() ? 0 : matches.back();
    while (matched > 0 && (matched == pattern.size() || pattern[matched] != c)) {
      matched = fallback[matched];
    }
    if (!pattern.empty() && pattern[matched] == c) ++matched;
    reversed += c;
    matches.push_back(matched);
  }

  bool BeginsWithPattern() const {
    return pattern.empty() || (!matches.empty() && matches.back() == pattern.size());
  }

  void ReplaceBeginning(size_t length, std::string_view replacement) {
    const size_t kept = reversed.size() - std::min(length, reversed.size());
    reversed.resize(kept);
    matches.resize(kept);
    std::for_each(replacement.rbegin(), replacement.rend(), [this](char c) { Prepend(c); });
  }

  std::string Text() const { return {reversed.rbegin(), reversed.rend()}; }

 private:
  std::string pattern;
  std::vector<size_t> fallback;
  std::string reversed;
  std::vector<size_t> matches;
};

}  // namespace

std::string& XMLBase::ReplaceString(std::string& text, const char* pattern, int length,
                                    const char* replacement) {
  if (pattern == nullptr || replacement == nullptr) return text;
  if (text.find(pattern) == std::string::npos) return text;
  const size_t removed = length < 0 ? std::string::npos : static_cast<size_t>(length);
  BackwardMatcher tail(pattern);
  if (tail.BeginsWithPattern()) tail.ReplaceBeginning(removed, replacement);
  std::for_each(text.rbegin(), text.rend(), [&](char c) {
    tail.Prepend(c);
    if (tail.BeginsWithPattern()) tail.ReplaceBeginning(removed, replacement);
  });
  return text = tail.Text();
}

std::string& XMLBase::PercentEncoding(std::string& text) {
  // Nothing decoded is a part of an escape, so one pass does what a pass for each escape would do.
  std::string decoded;
  decoded.reserve(text.size());
  for (size_t position = 0; position < text.size(); ++position) {
    const char c = DecodeEscape(std::string_view(text).substr(position));
    decoded += c == '\0' ? text[position] : c;
    if (c != '\0') position += 2;
  }
  return text = decoded;
}
