// Detection by byte order mark, by validity, by frequencies (uchardet) and by plausibility.
#include "hosts/kavepub/source/encoding_detection.h"

#include <uchardet/uchardet.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <memory>
#include <system_error>
#include <vector>

#include "hosts/kavepub/console/failure.h"
#include "hosts/kavepub/source/converter.h"
#include "hosts/kavepub/source/encoding_plausibility.h"

namespace {

constexpr size_t kChunkSize = size_t{1} << 18;
constexpr size_t kEnoughForGuessing = size_t{1} << 20;
constexpr size_t kSampleSize = size_t{1} << 16;

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
};

// What has to be known of a text before the engine can read it as it is.
class ReadinessCheck {
 public:
  ReadinessCheck() : utf8(std::string(kUtf8)) {}

  void Feed(std::string_view piece) {
    if (piece.empty()) return;
    hasNul = hasNul || piece.find('\0') != std::string_view::npos;
    hasEscape = hasEscape || piece.find('\x1B') != std::string_view::npos;
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
  bool HasEscape() const { return hasEscape; }
  bool IsValidUtf8() const { return valid && carried.empty(); }
  bool IsReady() const { return IsValidUtf8() && !hasCarriageReturn && last != kDosEndOfFile; }

 private:
  Converter utf8;
  std::string carried;
  std::string decoded;
  bool valid = true;
  bool hasNul = false;
  bool hasEscape = false;
  bool hasCarriageReturn = false;
  char last = '\0';
};

// Collects the beginning of a text, and what uchardet thinks of it.
class Guesser {
 public:
  Guesser() : detector(uchardet_new(), &uchardet_delete) {}

  void Feed(std::string_view piece) {
    if (fed < kEnoughForGuessing) uchardet_handle_data(detector.get(), piece.data(), piece.size());
    fed += piece.size();
    if (!sample.empty()) return;
    const auto* const first = std::find_if(
        piece.begin(), piece.end(), [](char c) { return static_cast<unsigned char>(c) >= 0x80; });
    sample.assign(first, piece.end());
    if (sample.size() > kSampleSize) sample.resize(kSampleSize);
  }

  // A name as uchardet spells it; empty when it knows nothing.
  std::string Guess() {
    uchardet_data_end(detector.get());
    return uchardet_get_charset(detector.get());
  }

  // From the first byte on that is not ASCII.
  const std::string& Sample() const { return sample; }

 private:
  std::unique_ptr<uchardet, decltype(&uchardet_delete)> detector;
  std::string sample;
  size_t fed = 0;
};

// Bytes that texts in other encodings than UTF-16 and UTF-32 never have.
bool HasControls(std::string_view piece) {
  return std::any_of(piece.begin(), piece.end(), [](char c) {
    return (c >= '\0' && c < '\t') || (c > '\r' && c < kDosEndOfFile);
  });
}

// The encodings that texts are written in, tried when a guess makes no sense; the likeliest first.
constexpr const char* kAlternatives[] = {
    "WINDOWS-1252", "WINDOWS-1250", "WINDOWS-1251", "WINDOWS-1253", "WINDOWS-1254",
    "GB18030",      "CP950",        "CP932",        "EUC-JP",       "CP949",
    "KOI8-R",       "CP866",        "CP850",        "MACINTOSH",
};

// What texts of the same language are written in more often: tried before all others.
constexpr struct {
  std::string_view guessed;
  const char* sibling;
} kSiblings[] = {
    {"IBM852", "WINDOWS-1250"},       {"MAC-CENTRALEUROPE", "WINDOWS-1250"},
    {"ISO-8859-2", "WINDOWS-1250"},   {"ISO-8859-13", "WINDOWS-1257"},
    {"ISO-8859-4", "WINDOWS-1257"},   {"ISO-8859-5", "WINDOWS-1251"},
    {"MAC-CYRILLIC", "WINDOWS-1251"}, {"ISO-8859-7", "WINDOWS-1253"},
};

constexpr double kFewFaults = 0.05;

const char* FindIn(const auto& table, std::string_view name) {
  for (const auto& [key, value] : table) {
    if (key == name) return value;
  }
  return nullptr;
}

// The guess by frequencies, or another encoding when only that makes sense of the sample.
std::string Choose(const std::string& guessed, std::string_view sample) {
  if (IsMostlyUtf8(sample)) return std::string(kUtf8);
  const char* superset = FindIn(kSupersets, guessed);
  std::string guess = superset != nullptr ? superset : guessed;
  if (!guess.empty() && ShareOfFaults(sample, guess) < kFewFaults) return guess;
  const char* sibling = FindIn(kSiblings, guessed);
  if (sibling != nullptr && ShareOfFaults(sample, sibling) < kFewFaults) return sibling;
  std::string best = guess.empty() ? std::string(kUtf8) : guess;
  double fewest = kFewFaults;
  for (const char* alternative : kAlternatives) {
    const double faults = ShareOfFaults(sample, alternative);
    if (faults >= fewest) continue;
    fewest = faults;
    best = alternative;
  }
  return best;
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
  std::vector<char> chunk(kChunkSize);
  ReadinessCheck check;
  Guesser guesser;
  for (bool atStart = true; file; atStart = false) {
    file.read(chunk.data(), static_cast<std::streamsize>(chunk.size()));
    const std::string_view piece(chunk.data(), static_cast<size_t>(file.gcount()));
    if (atStart) {
      if (const auto mark = FindByteOrderMark(piece); mark.length > 0) {
        return {std::string(mark.encoding)};
      }
      if (HasControls(piece)) {
        if (const auto wide = GuessWideEncoding(piece); !wide.empty()) return {std::string(wide)};
      }
    }
    check.Feed(piece);
    guesser.Feed(piece);
  }
  if (file.bad()) throw Failure(text, "cannot be read to its end; check the disk");
  if (check.HasNul()) {
    throw Failure(text, "holds NUL bytes, so it is hardly a text; if it is, name its --encoding");
  }
  if (check.IsValidUtf8() && !check.HasEscape()) return {std::string(kUtf8), check.IsReady()};
  const std::string guess = guesser.Guess();
  if (!check.IsValidUtf8()) return {Choose(guess, guesser.Sample())};
  // The encodings that switch between character sets are made of ASCII bytes.
  if (guess.starts_with("ISO-2022-")) return {guess};
  return {std::string(kUtf8), check.IsReady()};
}
