// Finds out the encoding of an HTML file and converts it to UTF-8.
#include "base/html_encoding.h"

#include <iconv.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <memory>
#include <new>
#include <optional>

#include "base/text_gate.h"
#include "base/utf8.h"
#include "base/xml_text.h"

namespace {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr char kLastResort[] = "windows-1252";
constexpr size_t kDeclarationArea = 4096;  // a declaration stands near the beginning
constexpr size_t kConversionChunk = size_t{64} * 1024;

constexpr std::string_view kBlanks = " \t\r\n\f";

// How a file begins, by a byte order mark or by the first "<" of a text in UTF-16 without one.
constexpr struct {
  std::string_view beginning;
  size_t markLength;
  const char* encoding;
} kBeginnings[] = {
    {{"\xFF\xFE\0\0", 4}, 4, "UTF-32LE"}, {{"\0\0\xFE\xFF", 4}, 4, "UTF-32BE"},
    {{"\xFF\xFE", 2}, 2, "UTF-16LE"},     {{"\xFE\xFF", 2}, 2, "UTF-16BE"},
    {{"<\0", 2}, 0, "UTF-16LE"},          {{"\0<", 2}, 0, "UTF-16BE"},
};

// Names that stand for more than they say: files declare the small set and use the large one.
constexpr struct {
  std::string_view declared;
  const char* encoding;
} kWiderEncodings[] = {
    {"ascii", "windows-1252"},
    {"us-ascii", "windows-1252"},
    {"iso-8859-1", "windows-1252"},
    {"latin1", "windows-1252"},
    {"iso-8859-9", "windows-1254"},
    {"tis-620", "windows-874"},
    {"gb2312", "GB18030"},
    {"gb_2312-80", "GB18030"},
    {"gbk", "GB18030"},
    {"x-gbk", "GB18030"},
    {"shift_jis", "CP932"},
    {"shift-jis", "CP932"},
    {"sjis", "CP932"},
    {"x-sjis", "CP932"},
    {"windows-31j", "CP932"},
    {"euc-kr", "CP949"},
    {"ks_c_5601-1987", "CP949"},
    {"big5", "BIG5-HKSCS"},
    {"x-user-defined", kLastResort},
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

struct Utf8Count {
  size_t multiByte = 0;  // characters beyond ASCII
  size_t broken = 0;     // units that are no characters
};

Utf8Count CountUtf8(std::string_view bytes) {
  Utf8Count count;
  while (true) {
    const auto* next = std::find_if(bytes.begin(), bytes.end(),
                                    [](char c) { return static_cast<unsigned char>(c) >= 0x80; });
    bytes.remove_prefix(static_cast<size_t>(next - bytes.begin()));
    if (bytes.empty()) return count;
    const Utf8Unit unit = DecodeUtf8(bytes);
    ++(unit.kind == Utf8Unit::Kind::kCharacter ? count.multiByte : count.broken);
    bytes.remove_prefix(unit.length);
  }
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

struct CloseConverter {
  void operator()(void* converter) const { iconv_close(converter); }
};
using Converter = std::unique_ptr<void, CloseConverter>;

Converter ConverterFrom(const char* encoding) {
  void* converter = iconv_open("UTF-8", encoding);
  const bool failed = reinterpret_cast<std::intptr_t>(converter) == -1;
  if (failed && errno != EINVAL) throw std::bad_alloc();  // it may be known all the same
  return Converter(failed ? nullptr : converter);
}

// Converts all of bytes; what none or a half of a character is becomes U+FFFD.
std::string Convert(const Converter& converter, std::string_view bytes) {
  std::string text;
  std::array<char, kConversionChunk> chunk;
  auto* input = const_cast<char*>(bytes.data());  // iconv() only reads there
  size_t inputLeft = bytes.size();
  for (bool isFlushed = false; !isFlushed;) {
    char* output = chunk.data();
    size_t outputLeft = chunk.size();
    isFlushed = inputLeft == 0;  // then the converter may hold the last character back
    const bool failed = iconv(converter.get(), isFlushed ? nullptr : &input, &inputLeft, &output,
                              &outputLeft) == static_cast<size_t>(-1);
    const int error = failed ? errno : 0;
    text.append(chunk.data(), chunk.size() - outputLeft);
    if (error == EILSEQ || error == EINVAL) {
      text += kReplacementCharacter;
      ++input;
      --inputLeft;
    }
  }
  return text;
}

// A declaration that could be read as ASCII is true only of an encoding that contains ASCII.
Converter ConverterFromDeclared(std::string_view declared) {
  for (const auto& [name, encoding] : kWiderEncodings) {
    if (name == declared) return ConverterFrom(encoding);
  }
  if (declared.empty() || declared.starts_with("utf-8") || declared == "utf8") return nullptr;
  Converter converter = ConverterFrom(std::string(declared).c_str());
  if (converter == nullptr || Convert(converter, kMarkup) != kMarkup) return nullptr;
  return converter;
}

// The converter that non-UTF-8 bytes need; null when they are best read as UTF-8 all the same.
Converter ConverterFor(std::string_view bytes, const Utf8Count& count) {
  const std::string beginning = Lowered(bytes.substr(0, kDeclarationArea));
  const std::string_view declared = DeclaredEncoding(beginning);
  if (Converter converter = ConverterFromDeclared(declared)) return converter;
  const bool isUtf8 = declared.starts_with("utf") || count.multiByte > count.broken;
  return isUtf8 ? nullptr : ConverterFrom(kLastResort);
}

}  // namespace

std::string HtmlToUtf8(std::string_view bytes) {
  for (const auto& [beginning, markLength, encoding] : kBeginnings) {
    if (!bytes.starts_with(beginning)) continue;
    if (const Converter converter = ConverterFrom(encoding)) {
      return ToXmlCharacters(Convert(converter, bytes.substr(markLength)));
    }
  }
  if (bytes.starts_with(kUtf8Mark)) return ToXmlCharacters(bytes.substr(kUtf8Mark.size()));
  const Utf8Count count = CountUtf8(bytes);
  if (count.broken == 0) return ToXmlCharacters(bytes);
  const Converter converter = ConverterFor(bytes, count);
  return converter ? ToXmlCharacters(Convert(converter, bytes)) : ToXmlCharacters(bytes);
}

std::string HtmlToUtf8(std::string_view bytes, const char* encoding) {
  const Converter converter = encoding == nullptr ? nullptr : ConverterFrom(encoding);
  return converter ? ToXmlCharacters(Convert(converter, bytes)) : HtmlToUtf8(bytes);
}
