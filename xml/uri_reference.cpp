// Percent-encoding of what a file name may hold and a reference may not.
#include "xml/uri_reference.h"

#include <libxml/chvalid.h>

#include "base/utf8.h"

namespace {

// Of ASCII: letters, digits and these stand for themselves in a path segment (RFC 3986).
constexpr std::string_view kPlainMarks = "-._~!$&'()*+,;=@";

bool IsPlain(const Utf8Unit& unit) {
  if (unit.kind != Utf8Unit::Kind::kCharacter) return false;
  const std::uint32_t c = unit.codePoint;
  if (c >= 0x80) return c >= 0xA0 && xmlIsCharQ(c);
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
         kPlainMarks.find(static_cast<char>(c)) != std::string_view::npos;
}

void AppendEncoded(std::string_view bytes, std::string& out) {
  constexpr char kHexDigits[] = "0123456789ABCDEF";
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    out += '%';
    out += kHexDigits[byte >> 4];
    out += kHexDigits[byte & 0xF];
  }
}

}  // namespace

std::string UriReferenceOf(std::string_view fileName) {
  std::string reference;
  while (!fileName.empty()) {
    const Utf8Unit unit = DecodeUtf8(fileName);
    const std::string_view bytes = fileName.substr(0, unit.length);
    if (IsPlain(unit)) {
      reference += bytes;
    } else {
      AppendEncoded(bytes, reference);
    }
    fileName.remove_prefix(unit.length);
  }
  return reference;
}
