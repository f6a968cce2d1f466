// Finds out the encoding of an HTML file and converts it to UTF-8.
#include "base/encoding/html_encoding.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <utility>

#include "base/encoding/detection.h"
#include "base/encoding/encoding_reader.h"
#include "base/encoding/plausibility.h"
#include "base/encoding/text_decoder.h"
#include "base/text_gate.h"
#include "base/utf8.h"

namespace {

constexpr std::string_view kLastResort = "WINDOWS-1252";
constexpr size_t kDeclarationArea = 4096;  // a declaration stands near the beginning

// What is looked at to see whether a declaration makes sense: of a few characters, any may be
// right.
constexpr size_t kForeignSample = 4096;
constexpr std::ptrdiff_t kFewHighBytes = 64;  // beyond ASCII
constexpr size_t kFewDamages = 2;
constexpr double kManyFaults = 0.2;

constexpr std::string_view kBlanks = " \t\r\n\f";

// How a file begins, by a byte order mark or by the first "<" of a text in UTF-16 without one.
constexpr struct {
  std::string_view beginning;
  size_t markLength;
  std::string_view encoding;
} kBeginnings[] = {
    {"\xEF\xBB\xBF", 3, kUtf8},           {{"\xFF\xFE\0\0", 4}, 4, "UTF-32LE"},
    {{"\0\0\xFE\xFF", 4}, 4, "UTF-32BE"}, {{"\xFF\xFE", 2}, 2, "UTF-16LE"},
    {{"\xFE\xFF", 2}, 2, "UTF-16BE"},     {{"<\0", 2}, 0, "UTF-16LE"},
    {{"\0<", 2}, 0, "UTF-16BE"},
};

// What a declaration is written in.
constexpr std::string_view kMarkup = "<meta charset=\"az-09\">";

std::string Lowered(std::string_view text) {
  std::string lowered(text);
  for (char& c : lowered) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return lowered;
}

std::string_view SkipBlanks(std::string_view text) {
  return text.substr(std::min(text.find_first_not_of(kBlanks), text.size()));
}

// What follows "name = " in the attributes of a tag, without quotes; empty when there is none.
std::string_view ValueAfter(std::string_view tag, std::string_view name) {
  for (size_t at = tag.find(name); at != std::string_view::npos; at = tag.find(name, at + 1)) {
    std::string_view rest = SkipBlanks(tag.substr(at + name.size()));
    if (!rest.starts_with('=')) continue;
    rest = SkipBlanks(rest.substr(1));
    if (rest.starts_with('"') || rest.starts_with('\'')) rest = SkipBlanks(rest.substr(1));
    return rest.substr(0, rest.find_first_of(" \t\r\n\f\"';>?/"));
  }
  return {};
}

// The first encoding that the beginning of a file, in lower case, declares.
std::string_view DeclaredEncoding(std::string_view text) {
  constexpr struct {
    std::string_view opening;
    std::string_view name;
    std::string_view closing;
  } kDeclarations[] = {{"<!--", {}, "-->"}, {"<?xml", "encoding", ">"}, {"<meta", "charset", ">"}};
  for (size_t at = text.find('<'); at != std::string_view::npos; at = text.find('<', at + 1)) {
    const std::string_view rest = text.substr(at);
    for (const auto& [opening, name, closing] : kDeclarations) {
      if (!rest.starts_with(opening)) continue;
      const size_t end = rest.find(closing);
      const std::string_view value = name.empty() ? name : ValueAfter(rest.substr(0, end), name);
      if (!value.empty()) return value;
      if (end == std::string_view::npos) return {};
      at += end;
    }
  }
  return {};
}

struct Page {
  std::string text;
  Damage damage;
};

// Nothing when there is no such encoding.
std::optional<Page> DecodeAs(std::string_view encoding, std::string_view bytes) {
  TextDecoder decoder(encoding);
  if (!decoder.Exists()) return std::nullopt;
  Page decoded;
  decoder.Decode(bytes, decoded.text);
  decoder.Finish(decoded.text);
  decoded.damage = decoder.Damages();
  return decoded;
}

// A declaration that could be read as ASCII is true only of an encoding that contains ASCII.
bool ContainsAscii(std::string_view encoding) {
  const auto markup = DecodeAs(encoding, kMarkup);
  return markup && markup->text == kMarkup;
}

bool IsContradicted(const Page& decoded, std::string_view encoding, std::string_view bytes) {
  if (decoded.damage.count > kFewDamages && !decoded.damage.IsSlight()) return true;
  const auto isForeign = [](char c) { return static_cast<unsigned char>(c) >= 0x80; };
  const auto* first = std::find_if(bytes.begin(), bytes.end(), isForeign);
  const std::string_view sample =
      bytes.substr(static_cast<size_t>(first - bytes.begin()), kForeignSample);
  return std::count_if(sample.begin(), sample.end(), isForeign) > kFewHighBytes &&
         ShareOfFaults(sample, WiderEncoding(encoding)) > kManyFaults;
}

// Of bytes that are not UTF-8 throughout.
std::optional<Page> DecodeForeign(std::string_view bytes) {
  const std::string beginning = Lowered(bytes.substr(0, kDeclarationArea));
  const std::string_view declared = DeclaredEncoding(beginning);
  const bool isUtf8Declared = declared.starts_with("utf");
  std::optional<Page> decoded;
  if (!isUtf8Declared && ContainsAscii(declared)) decoded = DecodeAs(declared, bytes);
  if (decoded && !IsContradicted(*decoded, declared, bytes)) return decoded;
  const Utf8Count count = CountUtf8(bytes);
  if (count.multiByte + (isUtf8Declared ? 1 : 0) > count.broken) return DecodeAs(kUtf8, bytes);
  if (auto guessed = DecodeAs(GuessEncoding(bytes), bytes)) return guessed;
  return decoded ? std::move(decoded) : DecodeAs(kLastResort, bytes);
}

// Nothing when the bytes are UTF-8 as they are.
std::optional<Page> Decode(std::string_view bytes, std::string_view encoding) {
  for (const auto& [beginning, markLength, wide] : kBeginnings) {
    if (bytes.starts_with(beginning)) return DecodeAs(wide, bytes.substr(markLength));
  }
  if (auto decoded = DecodeAs(encoding, bytes)) return decoded;
  if (ValidUtf8Length(bytes) < bytes.size()) return DecodeForeign(bytes);
  const bool isSwitching = bytes.find(kEscape) != std::string_view::npos;
  return isSwitching ? DecodeAs(GuessEncoding(bytes), bytes) : std::nullopt;
}

}  // namespace

std::string HtmlToUtf8(std::string_view bytes, std::string_view encoding) {
  const auto decoded = Decode(bytes, encoding);
  return ToXmlCharacters(decoded ? decoded->text : bytes);
}

std::optional<std::string> ReadHtmlFile(const char* path, std::string_view encoding,
                                        const FileIdentity* expected) {
  auto bytes = ReadRegularFile(path, expected);
  if (bytes) *bytes = HtmlToUtf8(*bytes, encoding);
  return bytes;
}
