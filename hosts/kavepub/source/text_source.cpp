// Detects and decodes the texts of files.
#include "hosts/kavepub/source/text_source.h"

#include <cerrno>
#include <fstream>
#include <string_view>
#include <system_error>
#include <vector>

#include "base/encoding/detection.h"
#include "base/encoding/line_ends.h"
#include "base/encoding/text_decoder.h"
#include "hosts/kavepub/console/failure.h"
#include "hosts/kavepub/console/interruption.h"

namespace {

constexpr size_t kChunkSize = size_t{1} << 16;

// Hands a file to a consumer, chunk by chunk, until that wants no more.
void ReadChunks(const std::filesystem::path& text, const auto& consume) {
  std::ifstream file(text, std::ios::binary);
  if (!file) throw Failure(text, std::generic_category().message(errno));
  std::vector<char> chunk(kChunkSize);
  while (file) {
    StopIfInterrupted();
    file.read(chunk.data(), static_cast<std::streamsize>(chunk.size()));
    if (!consume(std::string_view(chunk.data(), static_cast<size_t>(file.gcount())))) return;
  }
  if (file.bad()) throw Failure(text, "cannot be read to its end; check the disk");
}

Detection Detect(const std::filesystem::path& text) {
  TextDetector detector;
  ReadChunks(text, [&](std::string_view chunk) {
    detector.Feed(chunk);
    return !detector.IsCertain();
  });
  Detection found = detector.Finish();
  if (found.isBinary) {
    throw Failure(text, "holds NUL bytes, so it is hardly a text; if it is, name its --encoding");
  }
  return found;
}

Damage DecodeInto(const std::filesystem::path& target, const std::filesystem::path& text,
                  const std::string& encoding, bool stopsAtDamage) {
  std::ofstream file(target, std::ios::binary);
  TextDecoder decoder(encoding);
  LineEnds lineEnds;
  std::string decoded;
  std::string lines;
  const auto write = [&] {
    lines.clear();
    lineEnds.Append(decoded, lines);
    file << lines;
    decoded.clear();
    return !stopsAtDamage || decoder.Damages().count == 0;
  };
  ReadChunks(text, [&](std::string_view chunk) {
    decoder.Decode(chunk, decoded);
    return write();
  });
  decoder.Finish(decoded);
  write();
  file.close();
  if (file.fail()) throw Failure(target, "cannot be written; check the room on its disk");
  return decoder.Damages();
}

bool IsAllowed(const Damage& damage, EncodingErrors errors) {
  return damage.count == 0 || errors == EncodingErrors::kReplace ||
         (errors == EncodingErrors::kAuto && damage.IsSlight());
}

std::string WarningOf(const Damage& damage, const std::string& encoding) {
  if (damage.count == 0) return {};
  const std::string place = "byte " + std::to_string(damage.first + 1);
  if (damage.count == 1) return place + " is not valid " + encoding + " and became U+FFFD";
  return std::to_string(damage.count) + " places are not valid " + encoding +
         " and became U+FFFD, the first at " + place;
}

}  // namespace

void RequireEncoding(const std::string& encoding) {
  if (TextDecoder(encoding).Exists()) return;
  throw Failure("the encoding \"" + encoding +
                "\" is not known; `iconv -l` lists the names that are");
}

TextSource PrepareText(const std::filesystem::path& text, const DecodingOptions& options,
                       const std::filesystem::path& workDir) {
  Detection found{options.encoding};
  if (options.encoding == kAutoEncoding) found = Detect(text);
  if (found.isReady) return {text, found.encoding, {}};
  RequireEncoding(found.encoding);
  const std::filesystem::path target = workDir / "text.txt";
  const Damage damage =
      DecodeInto(target, text, found.encoding, options.errors == EncodingErrors::kStrict);
  if (!IsAllowed(damage, options.errors)) {
    throw Failure(text, "byte " + std::to_string(damage.first + 1) + " is not valid " +
                            found.encoding +
                            "; name the right --encoding, or use --encoding-errors replace");
  }
  return {target, found.encoding, WarningOf(damage, found.encoding)};
}
