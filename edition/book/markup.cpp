// Escaping of the characters that mean something in markup.
#include "edition/book/markup.h"

#include <algorithm>

#include "base/byte_set.h"

namespace {

constexpr ByteSet kSpecial("&<>\"");

const char* EscapeOf(char letter) {
  switch (letter) {
    case '&':
      return "&amp;";
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    default:
      return "&quot;";
  }
}

}  // namespace

void AppendEscaped(std::string_view text, std::string& markup) {
  for (;;) {
    const size_t size = std::min(kSpecial.FirstIn(text), text.size());
    markup.append(text, 0, size);
    if (size == text.size()) return;
    markup += EscapeOf(text[size]);
    text.remove_prefix(size + 1);
  }
}

std::string Escaped(std::string_view text) {
  std::string markup;
  AppendEscaped(text, markup);
  return markup;
}
