// Why a request is refused: the closed list of codes of the interface.
#ifndef KAVEPUB_SERVE_REFUSAL_H
#define KAVEPUB_SERVE_REFUSAL_H

#include <stdexcept>
#include <string>

struct RefusalKind {
  const char* code;
  unsigned status;
};

namespace refusal {
inline constexpr RefusalKind kBadRequest = {"bad-request", 400};
inline constexpr RefusalKind kBadName = {"bad-name", 400};
inline constexpr RefusalKind kBadOption = {"bad-option", 400};
inline constexpr RefusalKind kNothingToConvert = {"nothing-to-convert", 422};
inline constexpr RefusalKind kLoginNeeded = {"login-needed", 401};
inline constexpr RefusalKind kWrongPassword = {"wrong-password", 403};
inline constexpr RefusalKind kWrongOrigin = {"wrong-origin", 403};
inline constexpr RefusalKind kWrongHost = {"wrong-host", 421};
inline constexpr RefusalKind kNotFound = {"not-found", 404};
inline constexpr RefusalKind kWrongMethod = {"wrong-method", 405};
inline constexpr RefusalKind kNotFinished = {"not-finished", 409};
inline constexpr RefusalKind kTooLarge = {"too-large", 413};
inline constexpr RefusalKind kTooManyBooks = {"too-many-books", 429};
inline constexpr RefusalKind kTooManyTries = {"too-many-tries", 429};
inline constexpr RefusalKind kBusy = {"busy", 503};
inline constexpr RefusalKind kFull = {"disk-full", 507};
inline constexpr RefusalKind kFailed = {"failed", 500};
}  // namespace refusal

class Refused : public std::runtime_error {
 public:
  Refused(const RefusalKind& kind, const std::string& words)
      : std::runtime_error(words), of(kind) {}

  const RefusalKind& Kind() const { return of; }

 private:
  RefusalKind of;
};

#endif
