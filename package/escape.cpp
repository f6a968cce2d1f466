// Escapes what the documents would take for a reference.
#include "package/escape.h"

#include "xml/xml_base.h"

std::string EscapeAmpersands(const char* text) {
  std::string escaped = text == nullptr ? "" : text;
  return XMLBase::ReplaceString(escaped, "&", 1, "&amp;");
}
