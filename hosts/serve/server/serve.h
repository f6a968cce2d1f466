// The server of `kavepub serve`.
#ifndef KAVEPUB_SERVE_SERVE_H
#define KAVEPUB_SERVE_SERVE_H

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "hosts/kavepub/plan/book_order.h"
#include "hosts/serve/http/http_server.h"
#include "hosts/serve/shelf/shelf.h"

struct ServeSettings {
  Endpoint endpoint = {"127.0.0.1", 8017};
  std::vector<std::string> names;               // further ones of this server
  std::filesystem::path passwordFile;           // empty: none
  std::filesystem::path store;                  // empty: the user's place
  std::uint64_t room = std::uint64_t{8} << 30;  // bytes of the store
  ShelfLimits limits;
  unsigned jobs = 1;
  unsigned graceSeconds = 20;  // of slow clients
  Sandbox sandbox = Sandbox::kAuto;
  bool opensBrowser = false;
};

// Serves until a signal ends it. Throws a Failure. To be called with one thread.
void Serve(const ServeSettings& settings);

#endif
