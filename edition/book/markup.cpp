// Escaping of the characters that mean something in markup.
#include "edition/book/markup.h"

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
  size_t begin = 0;
  for (size_t end = 0; (end = text.find_first_of("&<>\"", begin)) != std::string_view::npos;) {
    markup.append(text, begin, end - begin).append(EscapeOf(text[end]));
    begin = end + 1;
  }
  markup.append(text, begin);
}

std::string Escaped(std::string_view text) {
  std::string markup;
  AppendEscaped(text, markup);
  return markup;
}
