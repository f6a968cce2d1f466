// Names that nobody can guess.
#ifndef KAVEPUB_SERVE_TOKENS_H
#define KAVEPUB_SERVE_TOKENS_H

#include <string>
#include <string_view>

// 24 letters, digits, "-" and "_" from 144 random bits. Throws a Failure where there are none.
std::string NewToken();

bool IsToken(std::string_view text);

// SHA-256, in 64 hexadecimal digits.
std::string HashOf(std::string_view text);

// Takes as long for all texts of a length.
bool AreEqual(std::string_view one, std::string_view other);

// Tokens with a second half that only who has the key can make, so that it is not necessary to
// remember them.
class Seal {
 public:
  explicit Seal(std::string secret) : key(std::move(secret)) {}

  std::string NewToken() const;
  bool IsOurs(std::string_view token) const;

 private:
  std::string Sign(std::string_view token) const;

  std::string key;
};

#endif
