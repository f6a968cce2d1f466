// Tells sessions by their cookies.
#include "hosts/serve/server/sessions.h"

#include <algorithm>

namespace {

constexpr char kCookie[] = "kavepub";
constexpr size_t kMostLogins = 1000;
constexpr int kSecondsToKeep = 30 * 24 * 60 * 60;

}  // namespace

Sessions::Sessions(const Store& kept, bool byPassword)
    : store(kept), needsLogin(byPassword), seal(kept.Key()), logins(kept.Logins()) {}

std::string Sessions::Of(const Request& request) {
  for (const auto& [name, token] : request.cookies) {
    if (name != kCookie || !seal.IsOurs(token)) continue;
    std::string session = HashOf(token);
    if (!needsLogin) return session;
    const std::scoped_lock lock(mutex);
    if (std::find(logins.begin(), logins.end(), session) != logins.end()) return session;
  }
  return {};
}

std::string Sessions::LogIn() {
  std::string token = NewToken();
  const std::scoped_lock lock(mutex);
  if (logins.size() >= kMostLogins) logins.erase(logins.begin());
  logins.push_back(HashOf(token));
  store.KeepLogins(logins);
  return token;
}

void Sessions::LogOut(const std::string& session) {
  const std::scoped_lock lock(mutex);
  if (std::erase(logins, session) > 0) store.KeepLogins(logins);
}

std::pair<std::string, std::string> CookieOf(const std::string& token) {
  const int seconds = token.empty() ? 0 : kSecondsToKeep;
  return {"Set-Cookie",
          std::string(kCookie) + "=" + token +
              "; Path=/; HttpOnly; SameSite=Strict; Max-Age=" + std::to_string(seconds)};
}
