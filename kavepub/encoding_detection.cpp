// Detection by byte order mark, by validity and, with uchardet, by frequencies.
#include "kavepub/encoding_detection.h"

#include <uchardet/uchardet.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <fstream>
#include <memory>
#include <system_error>
#include <vector>

#include "kavepub/converter.h"
#include "kavepub/failure.h"

namespace {

constexpr size_t kChunkSize = size_t{1} << 18;
constexpr size_t kEnoughForGuessing = size_t{1} << 20;

constexpr struct {
  std::string_view bytes;
  std::string_view encoding;
} kMarks[] = {
    {"\xEF\xBB\xBF", kUtf8},
    // The longer mark first: it begins like the shorter one.
    {std::string_view("\xFF\xFE\0\0", 4), "UTF-32LE"},
    {std::string_view("\0\0\xFE\xFF", 4), "UTF-32BE"},
    {"\xFF\xFE", "UTF-16LE"},
    {"\xFE\xFF", "UTF-16BE"},
};

// What a text so labelled is really written in, nearly always: the superset that its programs use.
constexpr struct {
  std::string_view guessed;
  const char* decoded;
} kSupersets[] = {
    {"ASCII", "UTF-8"},
    {"ISO-8859-1", "WINDOWS-1252"},
    {"ISO-8859-9", "WINDOWS-1254"},
    {"GB2312", "GB18030"},
    {"GBK", "GB18030"},
    {"BIG5", "CP950"},
    {"SHIFT_JIS", "CP932"},
    {"EUC-KR", "CP949"},
    {"UHC", "CP949"},
    {"TIS-620", "CP874"},
    {"ISO-8859-11", "CP874"},
    {"MAC-CYRILLIC", "MAC-CYRILLIC"},
};

// What has to be known of a text before the engine can read it as it is.
class ReadinessCheck {
 public:
  ReadinessCheck() : utf8(std::string(kUtf8)) {}

  void Feed(std::string_view piece) {
    if (piece.empty()) return;
    hasNul = hasNul || piece.find('\0') != std::string_view::npos;
    hasCarriageReturn = hasCarriageReturn || piece.find('\r') != std::string_view::npos;
    last = piece.back();
    const bool isAscii = std::all_of(piece.begin(), piece.end(),
                                     [](char c) { return static_cast<unsigned char>(c) < 0x80; });
    if (!valid || (isAscii && carried.empty())) return;
    carried.append(piece);
    std::string_view rest = carried;
    decoded.clear();
    valid = utf8.Decode(rest, decoded);
    carried.erase(0, carried.size() - rest.size());
  }

  bool HasNul() const { return hasNul; }
  bool IsValidUtf8() const { return valid && carried.empty(); }
  bool IsReady() const { return IsValidUtf8() && !hasCarriageReturn && last != kDosEndOfFile; }

 private:
  Converter utf8;
  std::string carried;
  std::string decoded;
  bool valid = true;
  bool hasNul = false;
  bool hasCarriageReturn = false;
  char last = '\0';
};

// UTF-16 without a mark: in most scripts one byte of each pair is nearly always the same small
// number, in Latin text 0.
std::string_view GuessUtf16(std::string_view beginning) {
  std::array<size_t, 2> zeros = {};
  for (size_t i = 0; i < beginning.size(); ++i) {
    if (beginning[i] == '\0') ++zeros[i % 2];
  }
  const size_t pairs = beginning.size() / 2;
  if (pairs == 0) return {};
  if (zeros[1] * 4 > pairs && zeros[0] * 50 < pairs) return "UTF-16LE";
  if (zeros[0] * 4 > pairs && zeros[1] * 50 < pairs) return "UTF-16BE";
  return {};
}

std::string GuessByFrequencies(uchardet_t detector) {
  uchardet_data_end(detector);
  const std::string guessed = uchardet_get_charset(detector);
  if (guessed.empty()) return std::string(kUtf8);
  const auto* row = std::find_if(std::begin(kSupersets), std::end(kSupersets),
                                 [&](const auto& superset) { return superset.guessed == guessed; });
  return row == std::end(kSupersets) ? guessed : row->decoded;
}

}  // namespace

ByteOrderMark FindByteOrderMark(std::string_view beginning) {
  for (const auto& mark : kMarks) {
    if (beginning.starts_with(mark.bytes)) return {mark.encoding, mark.bytes.size()};
  }
  return {};
}

Detection DetectEncoding(const std::filesystem::path& text) {
  std::ifstream file(text, std::ios::binary);
  if (!file) throw Failure(text, std::generic_category().message(errno));
  const std::unique_ptr<uchardet, decltype(&uchardet_delete)> detector(uchardet_new(),
                                                                       &uchardet_delete);
  std::vector<char> chunk(kChunkSize);
  ReadinessCheck check;
  for (size_t done = 0; file; done += static_cast<size_t>(file.gcount())) {
    file.read(chunk.data(), static_cast<std::streamsize>(chunk.size()));
    const std::string_view piece(chunk.data(), static_cast<size_t>(file.gcount()));
    if (done == 0) {
      if (const auto mark = FindByteOrderMark(piece); mark.length > 0) {
        return {std::string(mark.encoding)};
      }
      if (const auto utf16 = GuessUtf16(piece); !utf16.empty()) return {std::string(utf16)};
    }
    check.Feed(piece);
    if (done < kEnoughForGuessing) uchardet_handle_data(detector.get(), piece.data(), piece.size());
  }
  if (file.bad()) throw Failure(text, "cannot be read to its end; check the disk");
  if (check.HasNul()) {
    throw Failure(text, "holds NUL bytes, so it is hardly a text; if it is, name its --encoding");
  }
  if (check.IsValidUtf8()) return {std::string(kUtf8), check.IsReady()};
  return {GuessByFrequencies(detector.get())};
}
