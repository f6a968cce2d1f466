// What unpacking a Huffman coded text would cost, found by looking at each of its codes once.
#include "base/mobi/huffman_check.h"

#include <algorithm>
#include <array>

#include "base/mobi/bytes.h"

namespace kav_mobi {
namespace {

constexpr Bytes kTableMagic = "HUFF";
constexpr size_t kCacheOffset = 8;  // where in the code table the places of its two tables stand
constexpr size_t kBaseOffset = 12;
constexpr size_t kCacheEntries = 256;
constexpr size_t kLongestCode = 32;

constexpr Bytes kPhrasesMagic = "CDIC";
constexpr size_t kPhraseCountOffset = 8;
constexpr size_t kIndexBitsOffset = 12;
constexpr size_t kPhrasePlaces = 16;  // the places of the phrases, counted from here
constexpr size_t kMostIndexBits = 16;

constexpr uint64_t kPlainMark = 0x8000;
constexpr uint32_t kFinalMark = 0x80;

// Limits no writer comes near: steps for each byte that a phrase unpacks to, phrases inside of
// phrases (where libmobi gives up as well), and looks at each byte of the phrase records.
constexpr uint64_t kMaxWorkPerByte = 64;
constexpr size_t kMaxDepth = 20;
constexpr uint64_t kMaxLooks = 64;

enum class State : uint8_t { kUnknown, kBusy, kKnown };

// Steps to unpack something, and bytes that come of it.
struct Cost {
  uint64_t work = 1;
  uint64_t length = 0;

  bool IsSensible() const { return work <= kMaxWorkPerByte * (length + 1); }
};

struct Phrase {
  Bytes bytes;
  bool isPlain = true;
  State state = State::kUnknown;
  Cost cost = {};
};

// The code at the front of some bits: its length, 0 when there is none, and the phrase it means.
struct Code {
  size_t length = 0;
  size_t phrase = 0;
};

// The arithmetic is libmobi's, that of 32 bits, so that broken tables mean the same to both.
class CodeTable {
 public:
  // False when the tables are not where they should be.
  bool Read(Bytes record) {
    const size_t cacheAt = BigEndian32(record, kCacheOffset);
    const size_t baseAt = BigEndian32(record, kBaseOffset);
    if (!record.starts_with(kTableMagic) || cacheAt + 4 * kCacheEntries > record.size() ||
        baseAt + 8 * kLongestCode > record.size()) {
      return false;
    }
    for (size_t i = 0; i < kCacheEntries; ++i) cache[i] = Number(record, cacheAt + 4 * i);
    for (size_t length = 1; length <= kLongestCode; ++length) {
      const size_t at = baseAt + 8 * (length - 1);
      smallest[length] = Number(record, at) << (kLongestCode - length);
      largest[length] = LargestOf(Number(record, at + 4), length);
    }
    return true;
  }

  Code Decode(uint32_t bits) const {
    const uint32_t entry = cache[bits >> 24];
    size_t length = entry & 0x1F;
    if (length == 0) return {};
    const bool isFinal = (entry & kFinalMark) != 0;
    while (!isFinal && bits < smallest[length]) {
      if (++length > kLongestCode) return {};
    }
    const uint32_t last = isFinal ? LargestOf(entry >> 8, length) : largest[length];
    return {length, (last - bits) >> (kLongestCode - length)};
  }

 private:
  static uint32_t Number(Bytes record, size_t at) {
    return static_cast<uint32_t>(BigEndian32(record, at));
  }

  // The largest number that begins with this code.
  static uint32_t LargestOf(uint32_t code, size_t length) {
    return ((code + 1) << (kLongestCode - length)) - 1;
  }

  std::array<uint32_t, kCacheEntries> cache{};
  std::array<uint32_t, kLongestCode + 1> smallest{};
  std::array<uint32_t, kLongestCode + 1> largest{};
};

class HuffmanCode {
 public:
  bool Read(const std::vector<Bytes>& records) {
    if (records.empty() || !table.Read(records.front())) return false;
    for (size_t i = 1; i < records.size(); ++i) {
      if (!AddPhrases(records[i], i == 1)) return false;
      looksLeft += kMaxLooks * records[i].size();
    }
    return true;
  }

  bool IsSensible(Bytes packed) {
    Cost cost;
    looksLeft += packed.size();
    return Measure(packed, 0, cost) &&
           cost.work <= kMaxWorkPerByte * (cost.length + packed.size() + 1);
  }

 private:
  // Every record but the last has as many phrases as its share of the index bits can tell apart.
  bool AddPhrases(Bytes record, bool isFirst) {
    const size_t count = BigEndian32(record, kPhraseCountOffset);
    const size_t bits = BigEndian32(record, kIndexBitsOffset);
    if (!record.starts_with(kPhrasesMagic) || bits > kMostIndexBits) return false;
    if (!isFirst && (count != phraseCount || bits != indexBits || phrases.size() % share != 0)) {
      return false;
    }
    phraseCount = count;
    indexBits = bits;
    share = size_t{1} << bits;
    const size_t here = std::min(count - std::min(count, phrases.size()), share);
    if (kPhrasePlaces + 2 * here > record.size()) return false;
    for (size_t i = 0; i < here; ++i) {
      const size_t at = kPhrasePlaces + BigEndian16(record, kPhrasePlaces + 2 * i);
      const uint64_t length = BigEndian16(record, at);
      if (at + 2 + (length & ~kPlainMark) > record.size()) return false;
      const Bytes bytes = record.substr(at + 2, length & ~kPlainMark);
      phrases.push_back({.bytes = bytes, .isPlain = (length & kPlainMark) != 0});
    }
    return true;
  }

  bool Measure(Phrase& phrase, size_t depth) {
    if (phrase.state == State::kKnown) return true;
    if (phrase.state == State::kBusy || depth > kMaxDepth) return false;
    phrase.state = State::kBusy;
    if (phrase.isPlain) {
      phrase.cost.length = phrase.bytes.size();
    } else if (!Measure(phrase.bytes, depth, phrase.cost) || !phrase.cost.IsSensible()) {
      return false;
    }
    phrase.state = State::kKnown;
    return true;
  }

  bool Measure(Bytes packed, size_t depth, Cost& cost) {
    if (packed.size() > looksLeft) return false;
    looksLeft -= packed.size();
    const size_t end = 8 * packed.size();
    for (size_t at = 0; at < end;) {
      const uint64_t ahead = BigEndian32(packed, at / 8) << 8 | ByteAt(packed, at / 8 + 4);
      const Code code = table.Decode(static_cast<uint32_t>(ahead >> (8 - at % 8)));
      if (code.length == 0) return false;
      at += code.length;
      // The last byte is filled up with the beginning of a code.
      if (at > end) return true;
      if (code.phrase >= phrases.size()) return false;
      Phrase& phrase = phrases[code.phrase];
      if (!Measure(phrase, depth + 1)) return false;
      cost.work += phrase.cost.work;
      cost.length += phrase.cost.length;
    }
    return true;
  }

  CodeTable table;
  std::vector<Phrase> phrases;
  size_t phraseCount = 0;
  size_t indexBits = 0;
  size_t share = 1;  // of phrases for a record
  uint64_t looksLeft = 0;
};

}  // namespace

bool UnpacksInTime(const std::vector<Bytes>& code, const std::vector<Bytes>& texts) {
  HuffmanCode huffman;
  return huffman.Read(code) && std::all_of(texts.begin(), texts.end(), [&huffman](Bytes text) {
           return huffman.IsSensible(text);
         });
}

}  // namespace kav_mobi
