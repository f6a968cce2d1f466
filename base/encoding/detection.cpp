// Detection by byte order mark, by validity, by frequencies (uchardet) and by plausibility.
#include "base/encoding/detection.h"

#include <uchardet/uchardet.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <memory>
#include <vector>

#include "base/encoding/encoding_reader.h"
#include "base/encoding/line_ends.h"
#include "base/encoding/plausibility.h"
#include "base/encoding/text_decoder.h"
#include "base/utf8.h"

namespace {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr size_t kBeginning = size_t{1} << 16;
constexpr size_t kSampleSize = size_t{1} << 18;
constexpr size_t kPlausibilitySample = size_t{1} << 16;
constexpr size_t kNulShare = 1000;  // of a text, one byte in so many may be NUL
constexpr std::string_view kDropped("\r\x1A\0", 3);

constexpr struct {
  std::string_view bytes;
  std::string_view encoding;
} kMarks[] = {
    {kUtf8Mark, kUtf8},
    // The longer mark first: it begins like the shorter one.
    {std::string_view("\xFF\xFE\0\0", 4), "UTF-32LE"},
    {std::string_view("\0\0\xFE\xFF", 4), "UTF-32BE"},
    {"\xFF\xFE", "UTF-16LE"},
    {"\xFE\xFF", "UTF-16BE"},
};

// The encodings that texts are written in, tried when a guess makes no sense; the likeliest first.
constexpr std::string_view kAlternatives[] = {
    "WINDOWS-1252", "WINDOWS-1250", "WINDOWS-1251", "WINDOWS-1253", "WINDOWS-1254",
    "GB18030",      "BIG5-HKSCS",   "CP932",        "EUC-JP-MS",    "CP949",
    "KOI8-R",       "CP866",        "CP850",        "MACINTOSH",
};

// What texts of the same language are written in more often: tried before all others.
constexpr struct {
  std::string_view guessed;
  std::string_view sibling;
} kSiblings[] = {
    {"IBM852", "WINDOWS-1250"},       {"MAC-CENTRALEUROPE", "WINDOWS-1250"},
    {"ISO-8859-2", "WINDOWS-1250"},   {"ISO-8859-13", "WINDOWS-1257"},
    {"ISO-8859-4", "WINDOWS-1257"},   {"ISO-8859-5", "WINDOWS-1251"},
    {"MAC-CYRILLIC", "WINDOWS-1251"}, {"ISO-8859-7", "WINDOWS-1253"},
};

constexpr double kFewFaults = 0.05;

// Frequencies tell nothing of a few bytes.
constexpr std::ptrdiff_t kFewBytes = 12;
constexpr std::string_view kMostCommon = "WINDOWS-1252";

// Bytes that texts in other encodings than UTF-16 and UTF-32 never have.
bool HasControls(std::string_view text) {
  return std::any_of(text.begin(), text.end(), [](char c) {
    return (c >= '\0' && c < '\t') || (c > '\r' && c < kDosEndOfFile);
  });
}

bool IsAscii(char c) {
  return static_cast<unsigned char>(c) < 0x80;
}

// UTF-16 and UTF-32 are full of NUL bytes, if only for line ends, or of what is no UTF-8.
bool IsOfBytes(std::string_view text) {
  constexpr size_t kFewBroken = 20;  // one byte in so many
  return text.find('\0') == std::string_view::npos &&
         CountUtf8(text).broken * kFewBroken < text.size();
}

// Up to the first byte that tells something of the encoding.
size_t PlainLength(std::string_view text) {
  const auto* end =
      std::find_if(text.begin(), text.end(), [](char c) { return !IsAscii(c) || c == kEscape; });
  return static_cast<size_t>(end - text.begin());
}

// A name as uchardet spells it; empty when it knows nothing.
std::string GuessByFrequencies(std::string_view sample) {
  const std::unique_ptr<uchardet, decltype(&uchardet_delete)> detector(uchardet_new(),
                                                                       &uchardet_delete);
  uchardet_handle_data(detector.get(), sample.data(), sample.size());
  uchardet_data_end(detector.get());
  return uchardet_get_charset(detector.get());
}

std::string_view SiblingOf(std::string_view guessed) {
  const auto* row = std::find_if(std::begin(kSiblings), std::end(kSiblings),
                                 [&](const auto& other) { return other.guessed == guessed; });
  return row == std::end(kSiblings) ? std::string_view() : row->sibling;
}

// The guess by frequencies, or another encoding when only that makes sense of the sample.
std::string Choose(const std::string& guessed, std::string_view sample) {
  const std::string guess = WiderEncoding(guessed);
  std::vector<std::string_view> candidates = {guess, SiblingOf(guessed)};
  for (const std::string_view candidate : candidates) {
    if (!candidate.empty() && ShareOfFaults(sample, candidate) < kFewFaults) {
      return std::string(candidate);
    }
  }
  std::string_view best = guess;
  double fewest = kFewFaults;
  for (const std::string_view alternative : kAlternatives) {
    const double faults = ShareOfFaults(sample, alternative);
    if (faults >= fewest) continue;
    fewest = faults;
    best = alternative;
  }
  return std::string(best);
}

}  // namespace

std::string GuessEncoding(std::string_view bytes) {
  const std::string_view sample = bytes.substr(PlainLength(bytes), kSampleSize);
  if (sample.empty()) return {};
  if (std::all_of(sample.begin(), sample.end(), IsAscii)) {
    // The encodings that switch between character sets are made of ASCII bytes.
    const std::string guess = GuessByFrequencies(sample);
    return guess.starts_with("ISO-2022-") ? WiderEncoding(guess) : std::string();
  }
  const std::string_view start = sample.substr(0, kPlausibilitySample);
  if (IsMostlyUtf8(start)) return std::string(kUtf8);
  const auto foreign =
      std::count_if(start.begin(), start.end(), [](char c) { return !IsAscii(c); });
  const bool isMostCommon = foreign <= kFewBytes && ShareOfFaults(start, kMostCommon) == 0;
  return isMostCommon ? std::string(kMostCommon) : Choose(GuessByFrequencies(sample), start);
}

void TextDetector::Feed(std::string_view piece) {
  if (IsCertain()) return;
  if (beginning.size() < kBeginning) {
    beginning += piece.substr(0, kBeginning - beginning.size());
    if (beginning.size() == kBeginning) JudgeBeginning();
  }
  size += piece.size();
  if (piece.find('\0') != std::string_view::npos) {
    nulBytes += static_cast<size_t>(std::count(piece.begin(), piece.end(), '\0'));
  }
  // One search for each is many times as fast as one for all.
  needsCleaning =
      needsCleaning || std::any_of(kDropped.begin(), kDropped.end(), [piece](char dropped) {
        return piece.find(dropped) != std::string_view::npos;
      });
  if (utf8.Damages().count == 0) {
    decoded.clear();
    utf8.Decode(piece, decoded);
    decodedSize += decoded.size();
    needsCleaning = needsCleaning || decoded.find(kUtf8Mark) != std::string::npos;
  }
  if (sample.empty()) piece.remove_prefix(PlainLength(piece));
  sample += piece.substr(0, kSampleSize - sample.size());
}

void TextDetector::JudgeBeginning() {
  for (const auto& mark : kMarks) {
    if (!beginning.starts_with(mark.bytes)) continue;
    certain = mark.encoding;
    return;
  }
  if (HasControls(beginning) && !IsOfBytes(beginning)) certain = GuessWideEncoding(beginning);
}

Detection TextDetector::Finish() {
  if (beginning.size() < kBeginning) JudgeBeginning();
  if (IsCertain()) return {std::string(certain)};
  utf8.Finish(decoded);
  const bool isUtf8 = utf8.Damages().count == 0;
  Detection found{std::string(kUtf8)};
  found.isBinary = nulBytes * kNulShare > size;
  found.isReady = isUtf8 && !needsCleaning && decodedSize == size;
  if (isUtf8 && !sample.starts_with(kEscape)) return found;
  const std::string guess = GuessEncoding(sample);
  if (guess.empty() || guess == kUtf8) return found;
  found.encoding = guess;
  found.isReady = false;
  return found;
}
