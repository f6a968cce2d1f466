// What unpacking the phrases of a Huffman code would cost, found by unpacking each of them once.
#include "platform/kav_mobi/huffman_check.h"

#include <algorithm>
#include <array>

#include "platform/kav_mobi/bytes.h"

namespace kav_mobi {
namespace {

constexpr size_t kCacheOffset = 8;  // in the code table: where its two tables begin
constexpr size_t kBaseOffset = 12;
constexpr size_t kPhraseCountOffset = 8;  // in a phrase record
constexpr size_t kIndexBitsOffset = 12;
constexpr size_t kPhraseTable = 16;
constexpr uint64_t kPlainMark = 0x8000;
constexpr uint64_t kFinalMark = 0x80;
constexpr size_t kLongestCode = 32;

// Limits no writer comes near: steps for each byte that a phrase unpacks to, phrases inside of
// phrases (where libmobi gives up as well), and looks at each byte of the phrase records.
constexpr uint64_t kMaxWorkPerByte = 64;
constexpr size_t kMaxDepth = 20;
constexpr uint64_t kMaxLooks = 64;

enum class State : uint8_t { kUnknown, kBusy, kKnown };

struct Phrase {
  Bytes bytes;
  bool isPlain = true;
  State state = State::kUnknown;
  uint64_t work = 1;
  uint64_t length = 0;
};

// The next code of a sequence of bits: its length, 0 when there is none, and the phrase it means.
struct Code {
  size_t length = 0;
  size_t phrase = 0;
};

class CodeTable {
 public:
  explicit CodeTable(Bytes record) {
    const size_t cacheAt = BigEndian32(record, kCacheOffset);
    const size_t baseAt = BigEndian32(record, kBaseOffset);
    for (size_t i = 0; i < cache.size(); ++i) cache[i] = BigEndian32(record, cacheAt + 4 * i);
    for (size_t length = 1; length <= kLongestCode; ++length) {
      const size_t at = baseAt + 8 * (length - 1);
      smallest[length] = BigEndian32(record, at) << (kLongestCode - length);
      largest[length] = UpTo(BigEndian32(record, at + 4), length);
    }
  }

  // The code at the front of 32 bits.
  Code Decode(uint64_t window) const {
    const uint64_t entry = cache[window >> 24];
    size_t length = entry & 0x1F;
    uint64_t last = 0;
    if (length == 0) return {};
    if ((entry & kFinalMark) != 0) {
      last = UpTo(entry >> 8, length);
    } else {
      while (length <= kLongestCode && window < smallest[length]) ++length;
      if (length > kLongestCode) return {};
      last = largest[length];
    }
    return {length, (last - window) >> (kLongestCode - length)};
  }

 private:
  // The largest 32 bits that begin with this code.
  static uint64_t UpTo(uint64_t code, size_t length) {
    return ((code + 1) << (kLongestCode - length)) - 1;
  }

  std::array<uint64_t, 256> cache{};
  std::array<uint64_t, kLongestCode + 1> smallest{};
  std::array<uint64_t, kLongestCode + 1> largest{};
};

class Phrases {
 public:
  explicit Phrases(const std::vector<Bytes>& records) : codes(records.front()) {
    for (size_t i = 1; i < records.size(); ++i) {
      Add(records[i]);
      looksLeft += kMaxLooks * records[i].size();
    }
  }

  bool AreCheap() {
    for (Phrase& phrase : phrases) {
      if (!Measure(phrase, 0)) return false;
    }
    return true;
  }

 private:
  void Add(Bytes record) {
    const size_t all = BigEndian32(record, kPhraseCountOffset);
    const size_t bits = std::min<size_t>(BigEndian32(record, kIndexBitsOffset), kLongestCode);
    const size_t left = all - std::min(all, phrases.size());
    const size_t count = std::min({left, size_t{1} << bits, record.size() / 2});
    for (size_t i = 0; i < count; ++i) {
      const size_t at = kPhraseTable + BigEndian16(record, kPhraseTable + 2 * i);
      const uint64_t length = BigEndian16(record, at);
      Phrase phrase;
      if (at + 2 < record.size()) phrase.bytes = record.substr(at + 2, length & ~kPlainMark);
      phrase.isPlain = (length & kPlainMark) != 0;
      phrases.push_back(phrase);
    }
  }

  // Finds work and length of a phrase; false when they are out of proportion.
  bool Measure(Phrase& phrase, size_t depth) {
    if (phrase.state == State::kKnown) return true;
    if (phrase.state == State::kBusy || depth > kMaxDepth) return false;
    phrase.state = State::kBusy;
    if (phrase.isPlain) {
      phrase.length = phrase.bytes.size();
    } else if (!MeasurePacked(phrase, depth)) {
      return false;
    }
    phrase.state = State::kKnown;
    return phrase.work <= kMaxWorkPerByte * (phrase.length + 1);
  }

  bool MeasurePacked(Phrase& phrase, size_t depth) {
    if (phrase.bytes.size() > looksLeft) return false;
    looksLeft -= phrase.bytes.size();
    const size_t end = 8 * phrase.bytes.size();
    for (size_t at = 0; at < end;) {
      const uint64_t ahead =
          BigEndian32(phrase.bytes, at / 8) << 8 | ByteAt(phrase.bytes, at / 8 + 4);
      const Code code = codes.Decode((ahead >> (8 - at % 8)) & 0xFFFFFFFF);
      at += code.length;
      // What libmobi itself will find to be wrong ends here.
      if (code.length == 0 || at > end || code.phrase >= phrases.size()) break;
      Phrase& inner = phrases[code.phrase];
      if (!Measure(inner, depth + 1)) return false;
      phrase.work += inner.work;
      phrase.length += inner.length;
    }
    return true;
  }

  CodeTable codes;
  std::vector<Phrase> phrases;
  uint64_t looksLeft = 0;
};

}  // namespace

bool UnpacksInTime(const std::vector<Bytes>& records) {
  return records.empty() || Phrases(records).AreCheap();
}

}  // namespace kav_mobi
