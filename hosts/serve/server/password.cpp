// Hashes and compares passwords.
#include "hosts/serve/server/password.h"

#include <crypt.h>
#include <termios.h>
#include <unistd.h>

#include <cstdio>
#include <iostream>
#include <memory>

#include "base/read_file.h"
#include "hosts/kavepub/console/failure.h"
#include "hosts/serve/shelf/refusal.h"
#include "hosts/serve/shelf/tokens.h"

namespace {

constexpr char kMethod[] = "$y$";  // yescrypt
constexpr size_t kShortest = 8;
constexpr size_t kLongest = 500;
constexpr auto kPeriod = std::chrono::minutes(10);
constexpr unsigned kMostWrong = 10;  // in it, of an address
constexpr unsigned kMostWrongOfAll = 200;
constexpr size_t kMostAddresses = 1000;

// Keeps a terminal from showing what is typed.
class HiddenInput {
 public:
  HiddenInput() : isTerminal(tcgetattr(STDIN_FILENO, &before) == 0) {
    if (!isTerminal) return;
    termios hidden = before;
    hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &hidden);
    std::fputs("Password: ", stderr);
  }
  ~HiddenInput() {
    if (!isTerminal) return;
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &before);
    std::fputc('\n', stderr);
  }
  HiddenInput(const HiddenInput&) = delete;
  HiddenInput& operator=(const HiddenInput&) = delete;

 private:
  termios before{};
  bool isTerminal;
};

// Empty when it cannot be done.
std::string Hashed(const std::string& password, const std::string& setting) {
  auto room = std::make_unique<crypt_data>();
  const char* hash = crypt_r(password.c_str(), setting.c_str(), room.get());
  return hash == nullptr || *hash == '*' ? "" : hash;
}

}  // namespace

std::string HashOfAskedPassword() {
  std::string password;
  {
    const HiddenInput hidden;
    std::getline(std::cin, password);
  }
  if (password.size() < kShortest || password.size() > kLongest) {
    throw Failure("a password has " + std::to_string(kShortest) + " to " +
                  std::to_string(kLongest) + " bytes");
  }
  char setting[CRYPT_GENSALT_OUTPUT_SIZE];
  const bool isMade = crypt_gensalt_rn(kMethod, 0, nullptr, 0, setting, sizeof setting) != nullptr;
  std::string hash = isMade ? Hashed(password, setting) : "";
  if (hash.empty()) throw Failure("the system cannot hash passwords", Cause::kMachine);
  return hash;
}

Password::Password(const std::filesystem::path& file) {
  const auto content = ReadRegularFile(file.c_str());
  if (!content) throw Failure(file, "cannot be read", Cause::kMachine);
  hash = content->substr(0, content->find_first_of("\r\n"));
  if (!hash.starts_with('$') || Hashed("probe", hash).empty()) {
    throw Failure(file, "holds no hash of a password; make one by `kavepub serve --hash-password`");
  }
}

bool Password::IsRight(const std::string& password, const std::string& address) {
  {
    const std::scoped_lock lock(mutex);
    if (tries.size() > kMostAddresses) tries.clear();
    if (IsTooMany(tries[address], kMostWrong) || IsTooMany(ofAll, kMostWrongOfAll)) {
      throw Refused(refusal::kTooManyTries, "there were too many wrong passwords; try again later");
    }
    ++tries[address].wrong;  // until it is known to be right, so that many at once are counted
    ++ofAll.wrong;
  }
  const bool isRight = password.size() <= kLongest && AreEqual(Hashed(password, hash), hash);
  const std::scoped_lock lock(mutex);
  if (isRight) {
    tries.erase(address);
    --ofAll.wrong;
  }
  return isRight;
}

bool Password::IsTooMany(Tries& counted, unsigned most) const {
  const auto now = Clock::now();
  if (now - counted.since > kPeriod) counted = {0, now};
  return counted.wrong >= most;
}
