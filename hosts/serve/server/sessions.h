// Whose books are whose.
#ifndef KAVEPUB_SERVE_SESSIONS_H
#define KAVEPUB_SERVE_SESSIONS_H

#include <mutex>
#include <string>
#include <vector>

#include "hosts/serve/http/exchange.h"
#include "hosts/serve/shelf/store.h"
#include "hosts/serve/shelf/tokens.h"

// A session is known by a cookie. The server keeps no token, only hashes: of those who told the
// password, and on books.
class Sessions {
 public:
  Sessions(const Store& store, bool needsLogin);

  bool NeedsLogin() const { return needsLogin; }

  // The hash of the session that a request is of; empty when there is none, or none that is logged
  // in where that is needed.
  std::string Of(const Request& request);

  // A new session: the token for its cookie.
  std::string NewToken() const { return seal.NewToken(); }
  std::string LogIn();
  void LogOut(const std::string& session);

 private:
  const Store& store;
  const bool needsLogin;
  const Seal seal;
  std::mutex mutex;
  std::vector<std::string> logins;  // hashes, oldest first
};

// The header that gives a browser a token, or takes it away when it is empty.
std::pair<std::string, std::string> CookieOf(const std::string& token);

#endif
