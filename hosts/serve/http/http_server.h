// The HTTP server: one thread for all connections.
#ifndef KAVEPUB_SERVE_HTTP_SERVER_H
#define KAVEPUB_SERVE_HTTP_SERVER_H

#include <chrono>
#include <cstdint>
#include <memory>

#include "base/unique_fd.h"
#include "hosts/serve/http/exchange.h"

// A numeric address: "127.0.0.1", "::1", "0.0.0.0".
struct Endpoint {
  std::string host;
  std::uint16_t port = 0;  // 0: any that is free
};

// Listens there; the port becomes the one that was found. Throws a Failure.
UniqueFd ListenAt(Endpoint& endpoint);

class HttpServer {
 public:
  struct State;

  // Answers what comes on a socket, which it keeps. Slow clients are cut off after a grace. Throws
  // a Failure.
  HttpServer(UniqueFd listening, Site& site, std::chrono::milliseconds grace);
  // Ends all connections. Nothing may call for a source or an answer any more.
  ~HttpServer();
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

 private:
  std::unique_ptr<State> state;
};

#endif
