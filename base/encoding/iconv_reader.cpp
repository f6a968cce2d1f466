// Reads what iconv knows.
#include <algorithm>
#include <optional>

#include "base/encoding/converter.h"
#include "base/encoding/encoding_reader.h"

namespace {

// Bytes that Windows has in addition to its encodings.
constexpr struct {
  std::string_view encoding;
  char byte;
  std::string_view character;
} kLoneBytes[] = {{"GB18030", '\x80', "\xE2\x82\xAC"}};  // the sign of the euro

// The bytes that belong together: 2 in UTF-16, 4 in UTF-32, so that what follows damage is read in
// step.
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

class IconvReader : public EncodingReader {
 public:
  explicit IconvReader(const std::string& name) : encoding(name), converter(name) {}

  bool Exists() const { return converter.Exists(); }

  bool Read(std::string_view& input, std::string& out) override {
    while (!converter.Decode(input, out)) {
      if (!ReadLoneByte(input, out)) return false;
    }
    return true;
  }

  // A byte that begins a character takes the next one along, unless that is ASCII: then it may well
  // be whole, and what is lost lies between the two.
  size_t DamagedLength(std::string_view input) override {
    if (unit == 0) unit = UnitOf(encoding);
    if (unit > 1) return std::min(unit, input.size());
    const bool isAsciiNext = input.size() < 2 || static_cast<unsigned char>(input[1]) < 0x80;
    return isAsciiNext || !BeginsCharacter(input.substr(0, 1)) ? 1 : 2;
  }

  void Finish(std::string& out) override { converter.Finish(out); }

 private:
  bool ReadLoneByte(std::string_view& input, std::string& out) const {
    for (const auto& lone : kLoneBytes) {
      if (lone.encoding != encoding || lone.byte != input[0]) continue;
      out += lone.character;
      input.remove_prefix(1);
      return true;
    }
    return false;
  }

  bool BeginsCharacter(std::string_view byte) {
    if (!probe) probe.emplace(encoding);
    std::string ignored;
    const bool isPossible = probe->Decode(byte, ignored);
    probe->Finish(ignored);
    return isPossible && !byte.empty();
  }

  std::string encoding;
  Converter converter;
  std::optional<Converter> probe;
  size_t unit = 0;  // unknown yet
};

}  // namespace

std::unique_ptr<EncodingReader> NewIconvReader(const std::string& encoding) {
  auto reader = std::make_unique<IconvReader>(encoding);
  if (!reader->Exists()) return nullptr;
  return reader;
}
