// A bit for each of two hashes of a word.
#include "edition/text/word_set.h"

namespace {

constexpr std::uint64_t kBits = std::uint64_t{1} << 23;
constexpr std::uint64_t kSeed = 0xCBF29CE484222325;
constexpr std::uint64_t kPrime = 0x100000001B3;

// Letters of ASCII and whatever is beyond it; the case of others than the former is kept.
bool IsInWord(unsigned char c) {
  return c >= 0x80 || c == '-' || (static_cast<unsigned>(c | 0x20U) - 'a') < 26U;
}

std::uint64_t Mixed(std::uint64_t hash) {
  hash ^= hash >> 29;
  return hash * 0xBF58476D1CE4E5B9;
}

std::uint64_t Step(std::uint64_t hash, unsigned char c) {
  return (hash ^ (c < 0x80 ? c | 0x20U : c)) * kPrime;
}

}  // namespace

void WordSet::AddWordsOf(std::string_view text) {
  if (bits.empty()) bits.resize(kBits / 64);
  const auto add = [this](std::uint64_t hash) {
    hash = Mixed(hash);
    for (const std::uint64_t bit : {hash % kBits, (hash >> 32) % kBits}) {
      bits[bit / 64] |= std::uint64_t{1} << bit % 64;
    }
  };
  std::uint64_t hash = kSeed;
  for (const char letter : text) {
    const auto c = static_cast<unsigned char>(letter);
    if (IsInWord(c)) {
      hash = Step(hash, c);
    } else if (hash != kSeed) {
      add(hash);
      hash = kSeed;
    }
  }
  if (hash != kSeed) add(hash);
}

bool WordSet::Has(std::string_view word) const {
  if (bits.empty()) return false;
  std::uint64_t hash = kSeed;
  for (const char c : word) hash = Step(hash, static_cast<unsigned char>(c));
  hash = Mixed(hash);
  const auto isSet = [this](std::uint64_t bit) { return (bits[bit / 64] >> bit % 64 & 1U) != 0; };
  return isSet(hash % kBits) && isSet((hash >> 32) % kBits);
}
