// Decodes texts with iconv and normalises their line ends.
#include "hosts/kavepub/source/text_source.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <string_view>
#include <system_error>
#include <vector>

#include "hosts/kavepub/console/failure.h"
#include "hosts/kavepub/console/interruption.h"
#include "hosts/kavepub/source/converter.h"
#include "hosts/kavepub/source/encoding_detection.h"

namespace {

constexpr size_t kChunkSize = size_t{1} << 16;
constexpr std::string_view kReplacement = "\xEF\xBF\xBD";  // U+FFFD

// Writes text with LF line ends, without an end-of-file byte at its end.
class LineWriter {
 public:
  explicit LineWriter(const std::filesystem::path& path) : file(path, std::ios::binary) {}

  void Write(std::string_view text) {
    lines.clear();
    for (const char c : text) {
      if (hasEndOfFile) lines += kDosEndOfFile;
      hasEndOfFile = c == kDosEndOfFile;
      if (!hasEndOfFile && !(c == '\n' && afterCarriageReturn)) lines += c == '\r' ? '\n' : c;
      afterCarriageReturn = c == '\r';
    }
    file << lines;
  }

  bool Close() {
    file.close();
    return !file.fail();
  }

 private:
  std::ofstream file;
  std::string lines;
  bool afterCarriageReturn = false;
  bool hasEndOfFile = false;
};

// The bytes that belong together: 2 in UTF-16, 4 in UTF-32, so that what follows an error is read
// in step.
size_t UnitOf(const std::string& encoding) {
  Converter encoder("UTF-8", encoding);
  if (!encoder.Exists()) return 1;
  std::string_view first = "a";
  std::string_view second = "a";
  std::string encoded;
  encoder.Decode(first, encoded);  // with a byte order mark, where there is one
  const size_t before = encoded.size();
  encoder.Decode(second, encoded);
  return std::max<size_t>(1, encoded.size() - before);
}

// Decodes a text piece by piece, keeping count of where it is.
class Decoding {
 public:
  Decoding(const std::filesystem::path& path, const std::string& encodingName, bool replaces)
      : text(path),
        encoding(encodingName),
        replaceErrors(replaces),
        unit(UnitOf(encodingName)),
        converter(encodingName) {
    // A suffix such as "//IGNORE" would hide errors; an empty name means the language of the user.
    if (!converter.Exists() || encoding.empty() || encoding.find('/') != std::string::npos) {
      throw Failure(text, "the encoding \"" + encoding +
                              "\" is not known; `iconv -l` lists the names that are");
    }
  }

  std::string Next(std::string_view piece, bool isLast) {
    pending.append(piece);
    std::string_view input = pending;
    std::string out;
    for (;;) {
      const size_t before = input.size();
      const bool stuck = !converter.Decode(input, out) || (isLast && !input.empty());
      offset += before - input.size();
      if (!stuck) break;
      if (!replaceErrors) Fail();
      out += kReplacement;
      const size_t skipped = std::min(unit, input.size());
      input.remove_prefix(skipped);
      offset += skipped;
    }
    pending.erase(0, pending.size() - input.size());
    if (isLast) converter.Finish(out);
    return out;
  }

 private:
  [[noreturn]] void Fail() const {
    throw Failure(text, "byte " + std::to_string(offset + 1) + " is not valid " + encoding +
                            "; name the right --encoding, or use --encoding-errors replace");
  }

  const std::filesystem::path& text;
  const std::string& encoding;
  bool replaceErrors;
  size_t unit;
  Converter converter;
  std::string pending;
  size_t offset = 0;
};

void DecodeFile(const std::filesystem::path& text, const std::filesystem::path& target,
                const std::string& encoding, bool replaceErrors) {
  std::ifstream file(text, std::ios::binary);
  if (!file) throw Failure(text, std::generic_category().message(errno));
  Decoding decoding(text, encoding, replaceErrors);
  LineWriter writer(target);
  std::vector<char> chunk(kChunkSize);
  bool atStart = true;
  while (file) {
    StopIfInterrupted();
    file.read(chunk.data(), static_cast<std::streamsize>(chunk.size()));
    std::string decoded =
        decoding.Next({chunk.data(), static_cast<size_t>(file.gcount())}, file.eof());
    if (atStart) decoded.erase(0, FindByteOrderMark(decoded).length);
    atStart = atStart && decoded.empty();
    writer.Write(decoded);
  }
  if (file.bad()) throw Failure(text, "cannot be read to its end; check the disk");
  if (!writer.Close()) throw Failure(target, "cannot be written; check the room on its disk");
}

}  // namespace

TextSource PrepareText(const std::filesystem::path& text, const DecodingOptions& options,
                       const std::filesystem::path& workDir) {
  Detection found{options.encoding};
  if (options.encoding == "auto") found = DetectEncoding(text);
  if (found.isReady) return {text, found.encoding};
  const std::filesystem::path target = workDir / "text.txt";
  DecodeFile(text, target, found.encoding, options.replaceErrors);
  return {target, found.encoding};
}
