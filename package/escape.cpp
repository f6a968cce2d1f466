// Escapes what the documents would take for a reference.
#include "package/escape.h"

std::string EscapeAmpersands(const char* text) {
  std::string escaped;
  for (const char* c = text == nullptr ? "" : text; *c != '\0'; ++c) {
    if (*c == '&') {
      escaped += "&amp;";
    } else {
      escaped += *c;
    }
  }
  return escaped;
}
