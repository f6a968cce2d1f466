// Makes XML characters of any bytes, and resolves references, in one pass over the text.
#include "base/text_gate.h"

#include <libxml/HTMLparser.h>
#include <libxml/chvalid.h>

#include <algorithm>
#include <charconv>
#include <cstdint>

#include "base/utf8.h"
#include "base/xml_text.h"

namespace {

// The longest name that HTML knows is "thetasym"; a longer one need not be looked up.
constexpr size_t kLongestEntityName = 8;

// Appends the unit at the beginning of bytes and returns its length.
size_t AppendUnit(std::string_view bytes, std::string& out) {
  const Utf8Unit unit = DecodeUtf8(bytes);
  if (unit.kind != Utf8Unit::Kind::kCharacter) {
    out += kReplacementCharacter;
  } else if (xmlIsCharQ(unit.codePoint)) {
    out += bytes.substr(0, unit.length);
  }
  return unit.length;
}

// The code point of digits in a base, capped beyond Unicode; false when there are other characters.
bool ParseCodePoint(std::string_view digits, int base, std::uint32_t& codePoint) {
  const auto [end, error] =
      std::from_chars(digits.data(), digits.data() + digits.size(), codePoint, base);
  if (error == std::errc::result_out_of_range) codePoint = UINT32_MAX;
  return end == digits.data() + digits.size() && error != std::errc::invalid_argument;
}

// The code point that a reference's name ("#38", "#x26", "amp") stands for.
bool ResolveName(std::string_view name, std::uint32_t& codePoint) {
  if (name.starts_with("#x")) return ParseCodePoint(name.substr(2), 16, codePoint);
  if (name.starts_with('#')) return ParseCodePoint(name.substr(1), 10, codePoint);
  if (name == "apos") {  // XML's own; HTML 4 has no such entity
    codePoint = '\'';
    return true;
  }
  if (name.size() > kLongestEntityName) return false;
  const std::string terminated(name);
  const auto* entity = htmlEntityLookup(reinterpret_cast<const xmlChar*>(terminated.c_str()));
  if (entity == nullptr) return false;
  codePoint = entity->value;
  return true;
}

// Where the name of a reference may end: names hold letters and digits, after "#" digits only.
size_t NameLength(std::string_view text) {
  const auto* end = std::find_if_not(text.begin(), text.end(), [](char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '#';
  });
  return static_cast<size_t>(end - text.begin());
}

// Appends what the "&" at the beginning of text stands for and returns the bytes that it took.
size_t AppendReference(std::string_view text, std::string& out) {
  const std::string_view name = text.substr(1, NameLength(text.substr(1)));
  std::uint32_t codePoint = 0;
  const bool isTerminated = name.size() + 1 < text.size() && text[name.size() + 1] == ';';
  if (!isTerminated || !ResolveName(name, codePoint)) {
    out += '&';
    return 1;
  }
  if (codePoint <= 0x10FFFF && xmlIsCharQ(codePoint)) AppendUtf8(codePoint, out);
  return name.size() + 2;
}

template <bool kResolveReferences>
std::string PassGate(std::string_view bytes) {
  std::string out;
  out.reserve(bytes.size());
  while (!bytes.empty()) {
    // Printable ASCII is nearly everything and needs no look at its characters one by one.
    const auto* plainEnd = std::find_if(bytes.begin(), bytes.end(), [](char c) {
      const auto byte = static_cast<unsigned char>(c);
      return byte < ' ' || byte > '~' || (kResolveReferences && c == '&');
    });
    const auto plain = static_cast<size_t>(plainEnd - bytes.begin());
    out += bytes.substr(0, plain);
    bytes.remove_prefix(plain);
    if (bytes.empty()) break;
    const bool isReference = kResolveReferences && bytes.front() == '&';
    bytes.remove_prefix(isReference ? AppendReference(bytes, out) : AppendUnit(bytes, out));
  }
  return out;
}

}  // namespace

std::string ToXmlCharacters(std::string_view bytes) {
  return PassGate<false>(bytes);
}

std::string ToXmlText(std::string_view bytes) {
  return PassGate<true>(bytes);
}
