// What unpacking the phrases of a Huffman code would cost, found by unpacking each of them once.
#include "huffman_check.h"

#include <algorithm>
#include <array>

#include "bytes.h"

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
    const size_t cache = bigEndian32(record, kCacheOffset);
    const size_t base = bigEndian32(record, kBaseOffset);
    for (size_t i = 0; i < cache_.size(); ++i) cache_[i] = bigEndian32(record, cache + 4 * i);
    for (size_t length = 1; length <= kLongestCode; ++length) {
      const size_t at = base + 8 * (length - 1);
      smallest_[length] = bigEndian32(record, at) << (kLongestCode - length);
      largest_[length] = upTo(bigEndian32(record, at + 4), length);
    }
  }

  // The code at the front of 32 bits.
  Code decode(uint64_t window) const {
    const uint64_t entry = cache_[window >> 24];
    size_t length = entry & 0x1F;
    uint64_t largest = 0;
    if (length == 0) return {};
    if ((entry & kFinalMark) != 0) {
      largest = upTo(entry >> 8, length);
    } else {
      while (length <= kLongestCode && window < smallest_[length]) ++length;
      if (length > kLongestCode) return {};
      largest = largest_[length];
    }
    return {length, (largest - window) >> (kLongestCode - length)};
  }

 private:
  // The largest 32 bits that begin with this code.
  static uint64_t upTo(uint64_t code, size_t length) {
    return ((code + 1) << (kLongestCode - length)) - 1;
  }

  std::array<uint64_t, 256> cache_{};
  std::array<uint64_t, kLongestCode + 1> smallest_{};
  std::array<uint64_t, kLongestCode + 1> largest_{};
};

class Phrases {
 public:
  explicit Phrases(const std::vector<Bytes>& records) : codes_(records.front()) {
    for (size_t i = 1; i < records.size(); ++i) {
      add(records[i]);
      looksLeft_ += kMaxLooks * records[i].size();
    }
  }

  bool areCheap() {
    for (Phrase& phrase : phrases_) {
      if (!measure(phrase, 0)) return false;
    }
    return true;
  }

 private:
  void add(Bytes record) {
    const size_t all = bigEndian32(record, kPhraseCountOffset);
    const size_t bits = std::min<size_t>(bigEndian32(record, kIndexBitsOffset), kLongestCode);
    const size_t left = all - std::min(all, phrases_.size());
    const size_t count = std::min({left, size_t{1} << bits, record.size() / 2});
    for (size_t i = 0; i < count; ++i) {
      const size_t at = kPhraseTable + bigEndian16(record, kPhraseTable + 2 * i);
      const uint64_t length = bigEndian16(record, at);
      Phrase phrase;
      if (at + 2 < record.size()) phrase.bytes = record.substr(at + 2, length & ~kPlainMark);
      phrase.isPlain = (length & kPlainMark) != 0;
      phrases_.push_back(phrase);
    }
  }

  // Finds work and length of a phrase; false when they are out of proportion.
  bool measure(Phrase& phrase, size_t depth) {
    if (phrase.state == State::kKnown) return true;
    if (phrase.state == State::kBusy || depth > kMaxDepth) return false;
    phrase.state = State::kBusy;
    if (phrase.isPlain) {
      phrase.length = phrase.bytes.size();
    } else if (!measurePacked(phrase, depth)) {
      return false;
    }
    phrase.state = State::kKnown;
    return phrase.work <= kMaxWorkPerByte * (phrase.length + 1);
  }

  bool measurePacked(Phrase& phrase, size_t depth) {
    if (phrase.bytes.size() > looksLeft_) return false;
    looksLeft_ -= phrase.bytes.size();
    const size_t end = 8 * phrase.bytes.size();
    for (size_t at = 0; at < end;) {
      const uint64_t ahead =
          bigEndian32(phrase.bytes, at / 8) << 8 | byteAt(phrase.bytes, at / 8 + 4);
      const Code code = codes_.decode((ahead >> (8 - at % 8)) & 0xFFFFFFFF);
      at += code.length;
      // What libmobi itself will find to be wrong ends here.
      if (code.length == 0 || at > end || code.phrase >= phrases_.size()) break;
      Phrase& inner = phrases_[code.phrase];
      if (!measure(inner, depth + 1)) return false;
      phrase.work += inner.work;
      phrase.length += inner.length;
    }
    return true;
  }

  CodeTable codes_;
  std::vector<Phrase> phrases_;
  uint64_t looksLeft_ = 0;
};

}  // namespace

bool unpacksInTime(const std::vector<Bytes>& records) {
  return records.empty() || Phrases(records).areCheap();
}

}  // namespace kav_mobi
