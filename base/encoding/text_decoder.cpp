// Chooses a reader for an encoding, and keeps count of what it cannot read.
#include "base/encoding/text_decoder.h"

#include <algorithm>

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";  // U+FFFD

// By names in lower case without what is no letter or digit.
constexpr struct {
  std::string_view wider;
  std::string_view names;
} kWiderEncodings[] = {
    {"UTF-8", " utf8 "},
    {"WINDOWS-1252", " ascii usascii iso88591 latin1 xuserdefined "},
    {"WINDOWS-1254", " iso88599 latin5 "},
    {"ISO-8859-8", " iso88598i "},
    {"CP874", " tis620 iso885911 windows874 "},
    {"GB18030", " gb2312 gb231280 euccn gbk xgbk cp936 windows936 "},
    {"BIG5-HKSCS", " big5 cnbig5 xxbig5 big5eten big5hkscs cp950 ms950 windows950 "},
    {"CP932", " shiftjis sjis xsjis ms932 windows31j "},
    {"EUC-JP-MS", " eucjp xeucjp "},
    {"ISO-2022-JP", " iso2022jp csiso2022jp "},
    {"CP949", " euckr ksc56011987 uhc windows949 "},
};

constexpr struct {
  std::string_view encoding;
  std::unique_ptr<EncodingReader> (*make)();
} kOwnReaders[] = {
    {"UTF-8", &NewUtf8Reader},
    {"BIG5-HKSCS", &NewBig5Reader},
    {"ISO-2022-JP", &NewIso2022JpReader},
};

// A name as the table above has it.
std::string SimpleName(std::string_view name) {
  std::string simple(1, ' ');
  for (const char c : name) {
    const bool isCapital = c >= 'A' && c <= 'Z';
    const bool isKept = isCapital || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9');
    if (isKept) simple += static_cast<char>(isCapital ? c - 'A' + 'a' : c);
  }
  return simple + ' ';
}

std::unique_ptr<EncodingReader> NewReader(std::string_view name) {
  // A suffix such as "//IGNORE" would hide errors; an empty name means the language of the user.
  if (name.empty() || name.find('/') != std::string_view::npos) return nullptr;
  const std::string encoding = WiderEncoding(name);
  for (const auto& own : kOwnReaders) {
    if (own.encoding == encoding) return own.make();
  }
  return NewIconvReader(encoding);
}

size_t CountCharacters(std::string_view text) {
  return static_cast<size_t>(std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  }));
}

}  // namespace

std::string WiderEncoding(std::string_view name) {
  const std::string simple = SimpleName(name);
  for (const auto& row : kWiderEncodings) {
    if (row.names.find(simple) != std::string_view::npos) return std::string(row.wider);
  }
  return std::string(name);
}

TextDecoder::TextDecoder(std::string_view encoding) : reader(NewReader(encoding)) {}

void TextDecoder::Decode(std::string_view piece, std::string& out) {
  if (pending.empty()) {
    Read(piece, false, out);
    pending = piece;
    return;
  }
  pending += piece;
  std::string_view input = pending;
  Read(input, false, out);
  pending.erase(0, pending.size() - input.size());
}

void TextDecoder::Finish(std::string& out) {
  std::string_view input = pending;
  Read(input, true, out);
  pending.clear();
  const size_t before = out.size();
  reader->Finish(out);
  damage.characters += CountCharacters(std::string_view(out).substr(before));
}

void TextDecoder::Read(std::string_view& input, bool isEnd, std::string& out) {
  const size_t outBefore = out.size();
  for (;;) {
    const size_t before = input.size();
    const bool isWhole = reader->Read(input, out);
    offset += before - input.size();
    if (input.empty() || (isWhole && !isEnd)) break;
    if (damage.count++ == 0) damage.first = offset;
    out += kReplacement;
    const size_t damaged = isWhole ? input.size() : reader->DamagedLength(input);
    input.remove_prefix(damaged);
    offset += damaged;
  }
  damage.characters += CountCharacters(std::string_view(out).substr(outBefore));
}
