// Escaping of the characters that mean something in markup.
#include "edition/book/markup.h"

#include <algorithm>

namespace {

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
    const auto* place = std::find_if(text.begin(), text.end(), [](char c) {
      return c == '&' || c == '<' || c == '>' || c == '"';
    });
    const auto size = static_cast<size_t>(place - text.begin());
    markup.append(text, 0, size);
    if (size == text.size()) return;
    markup += EscapeOf(*place);
    text.remove_prefix(size + 1);
  }
}

std::string Escaped(std::string_view text) {
  std::string markup;
  AppendEscaped(text, markup);
  return markup;
}
