// Small questions about words of markup.
#ifndef KAVEPUB_PAGE_WORDS_H
#define KAVEPUB_PAGE_WORDS_H

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string>
#include <string_view>

inline constexpr std::string_view kBlanks = " \t\r\n\f";
inline constexpr std::string_view kDigits = "0123456789";

inline std::string_view Trimmed(std::string_view text) {
  const size_t begin = text.find_first_not_of(kBlanks);
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(kBlanks) + 1 - begin);
}

// Of those that names begin with.
inline bool IsLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// In lower case as far as it is ASCII, as names of HTML are compared.
inline std::string Lowered(std::string_view text) {
  std::string lowered(text);
  for (char& c : lowered) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return lowered;
}

inline bool IsAlphanumeric(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

template <size_t count>
bool IsOneOf(const std::string_view (&texts)[count], std::string_view text) {
  return std::find(std::begin(texts), std::end(texts), text) != std::end(texts);
}

#endif
