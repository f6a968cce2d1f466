// Makes and checks tokens.
#include "hosts/serve/shelf/tokens.h"

#include <sha2.h>
#include <sys/random.h>

#include <algorithm>
#include <array>
#include <cstdint>

#include "hosts/kavepub/console/failure.h"

namespace {

constexpr std::string_view kLetters =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
constexpr size_t kLength = 24;

}  // namespace

std::string NewToken() {
  std::array<std::uint8_t, kLength> bytes{};
  if (getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) {
    throw Failure("the system has no random numbers; try again", Cause::kMachine);
  }
  std::string token;
  for (const std::uint8_t byte : bytes) token += kLetters[byte % kLetters.size()];
  return token;
}

bool IsToken(std::string_view text) {
  return text.size() == kLength && text.find_first_not_of(kLetters) == std::string_view::npos;
}

std::string HashOf(std::string_view text) {
  SHA2_CTX context;
  SHA256Init(&context);
  SHA256Update(&context, reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
  std::array<char, SHA256_DIGEST_STRING_LENGTH> digits{};
  SHA256End(&context, digits.data());
  return digits.data();
}

bool AreEqual(std::string_view one, std::string_view other) {
  if (one.size() != other.size()) return false;
  int difference = 0;
  for (size_t i = 0; i < one.size(); ++i) difference |= one[i] ^ other[i];
  return difference == 0;
}

std::string Seal::NewToken() const {
  const std::string token = ::NewToken();
  return token + Sign(token);
}

bool Seal::IsOurs(std::string_view token) const {
  const std::string_view first = token.substr(0, kLength);
  return IsToken(first) && AreEqual(token.substr(first.size()), Sign(first));
}

// All that is signed has one length, so that nothing can be put behind it.
std::string Seal::Sign(std::string_view token) const {
  return HashOf(key + std::string(token)).substr(0, kLength);
}
