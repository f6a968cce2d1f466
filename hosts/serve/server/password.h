// The password of a server that others can reach.
#ifndef KAVEPUB_SERVE_PASSWORD_H
#define KAVEPUB_SERVE_PASSWORD_H

#include <chrono>
#include <filesystem>
#include <map>
#include <mutex>
#include <string>

// The line for a file of a password, which the standard input holds or a terminal is asked for.
// Throws a Failure.
std::string HashOfAskedPassword();

class Password {
 public:
  // Reads the file with the hash. Throws a Failure.
  explicit Password(const std::filesystem::path& file);

  // Takes a tenth of a second. Throws a Refused after too many wrong ones from an address, or from
  // all.
  bool IsRight(const std::string& password, const std::string& address);

 private:
  using Clock = std::chrono::steady_clock;
  struct Tries {
    unsigned wrong = 0;
    Clock::time_point since;
  };

  bool IsTooMany(Tries& tries, unsigned most) const;

  std::string hash;
  std::mutex mutex;
  Tries ofAll;
  std::map<std::string, Tries> tries;
};

#endif
