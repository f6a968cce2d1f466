// Detects and decodes inputs piece by piece.
#include "edition/text/text_input.h"

#include <algorithm>

#include "base/encoding/detection.h"
#include "base/utf8.h"
#include "edition/text/characters.h"

namespace {

constexpr size_t kPieceSize = size_t{1} << 16;

bool HoldsMoreThanBlanks(std::string_view text) {
  constexpr std::string_view kControls(
      "\0\x01\x02\x03\x04\x05\x06\x07\x08\x0E\x0F\x10\x11\x12\x13\x14\x15\x16\x17\x18\x19\x1A\x1B"
      "\x1C\x1D\x1E\x1F",
      27);
  for (;;) {
    text = WithoutBlanksBefore(text);
    const size_t controls = std::min(text.find_first_not_of(kControls), text.size());
    if (controls == 0) return !text.empty();
    text.remove_prefix(controls);
  }
}

}  // namespace

Status TextInput::Open(Run& run) {
  encoding = options.encoding;
  if (encoding.empty()) {
    if (Status status = Detect(run); !status) return status;
  }
  return Restart();
}

Status TextInput::Restart() {
  offset = 0;
  isAtEnd = false;
  lineEnds = {};
  if (isReady) return Done();
  decoder.emplace(encoding);
  if (decoder->Exists()) return Done();
  return Failure{KAVEPUB_E_ARGUMENT, "The encoding \"" + encoding + "\" is not known."};
}

Result<std::string_view> TextInput::Next() {
  std::string_view text;
  while (text.empty() && !isAtEnd) {
    Result<std::string_view> piece = ReadPiece();
    if (!piece) return piece;
    isAtEnd = piece->empty();
    if (isReady) {
      text = piece->substr(0, piece->size() - UnfinishedUtf8Tail(*piece));
      offset -= piece->size() - text.size();
      continue;
    }
    decoded.clear();
    lines.clear();
    if (isAtEnd) {
      decoder->Finish(decoded);
    } else {
      decoder->Decode(*piece, decoded);
    }
    if (IsTooDamaged()) return TooDamaged();
    lineEnds.Append(decoded, lines);
    text = lines;
  }
  holdsText = holdsText || HoldsMoreThanBlanks(text);
  return text;
}

Status TextInput::Tell(Run& run) const {
  run.Tell("encoding", encoding);
  if (!holdsText) {
    return Failure{KAVEPUB_E_FORMAT, Name() + ": holds no text; there is nothing to convert."};
  }
  if (Replaced() == 0) return Done();
  const Result<std::uint64_t> line = LineOfDamage();
  if (!line) return line.Why();
  const std::string byte = "byte " + std::to_string(decoder->Damages().first + 1);
  const std::string became = " not valid " + encoding + " and became U+FFFD";
  run.Warn({Replaced() == 1
                ? byte + " is" + became
                : std::to_string(Replaced()) + " places are" + became + ", the first at " + byte,
            Name() + ", line " + std::to_string(*line)});
  return Done();
}

double TextInput::Share() const {
  return input.Size() == 0 ? 1 : static_cast<double>(offset) / static_cast<double>(input.Size());
}

Result<std::string_view> TextInput::ReadPiece() {
  buffer.resize(kPieceSize);
  const Result<size_t> count = input.Read(offset, buffer.data(), buffer.size());
  if (!count) return count.Why();
  offset += *count;
  return std::string_view(buffer.data(), *count);
}

Status TextInput::Detect(Run& run) {
  TextDetector detector;
  offset = 0;
  while (!detector.IsCertain()) {
    const Result<std::string_view> piece = ReadPiece();
    if (!piece) return piece.Why();
    if (piece->empty()) break;
    detector.Feed(*piece);
    if (Status status = run.Advance(kShareOfDetection * Share()); !status) return status;
  }
  Detection found = detector.Finish();
  if (found.isBinary) {
    return Failure{KAVEPUB_E_FORMAT,
                   Name() +
                       ": holds NUL bytes, so it is hardly a text; if it is, name its "
                       "encoding."};
  }
  encoding = std::move(found.encoding);
  isReady = found.isReady;
  return Done();
}

bool TextInput::IsTooDamaged() const {
  const Damage& damage = decoder->Damages();
  if (damage.count == 0 || options.encodingErrors == EncodingErrors::kAny) return false;
  return options.encodingErrors == EncodingErrors::kNone || (isAtEnd && !damage.IsSlight());
}

// Reads up to the damage once more.
Result<std::uint64_t> TextInput::LineOfDamage() const {
  const std::uint64_t end = decoder->Damages().first;
  TextDecoder again(encoding);
  LineEnds ends;
  std::string bytes(kPieceSize, '\0');
  std::string text;
  std::string made;
  std::uint64_t line = 1;
  for (std::uint64_t at = 0; at < end;) {
    const auto wanted = static_cast<size_t>(std::min<std::uint64_t>(bytes.size(), end - at));
    const Result<size_t> count = input.Read(at, bytes.data(), wanted);
    if (!count) return count.Why();
    at += *count;
    text.clear();
    made.clear();
    again.Decode(std::string_view(bytes).substr(0, *count), text);
    ends.Append(text, made);
    line += static_cast<std::uint64_t>(std::count(made.begin(), made.end(), '\n'));
  }
  return line;
}

Failure TextInput::TooDamaged() const {
  const Result<std::uint64_t> line = LineOfDamage();
  if (!line) return line.Why();
  return {KAVEPUB_E_ENCODING, Name() + ": byte " + std::to_string(decoder->Damages().first + 1) +
                                  " is not valid " + encoding + ", in line " +
                                  std::to_string(*line) +
                                  "; name the right encoding, or let be replaced what is not "
                                  "valid."};
}
