// What comes and goes on a connection: requests, what takes their bodies, and responses.
#ifndef KAVEPUB_SERVE_EXCHANGE_H
#define KAVEPUB_SERVE_EXCHANGE_H

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "base/unique_fd.h"

using Fields = std::vector<std::pair<std::string, std::string>>;

struct MHD_Connection;

struct Request {
  std::string method;
  std::string path;  // decoded
  Fields query;      // decoded
  Fields headers;    // as they came
  Fields cookies;
  std::string address;                   // of the client
  MHD_Connection* connection = nullptr;  // for the reading of forms

  // The first value of a header, in letters of either size; empty when there is none.
  std::string_view Header(std::string_view name) const;
  std::size_t HeaderCount(std::string_view name) const;
  std::optional<std::uint64_t> ContentLength() const;
  bool HasBody() const;
};

// Wakes up a source that had nothing to say. From any thread, also when the client has gone.
using Wake = std::function<void()>;

// A body that is made while it is sent.
class Source {
 public:
  static constexpr ssize_t kEnd = -1;

  virtual ~Source() = default;

  // Called once, before anything is read.
  virtual void Begin(Wake /*wake*/) {}

  // How many bytes were put there; 0 for nothing yet, or kEnd.
  virtual ssize_t Read(char* buffer, std::size_t capacity) = 0;
};

struct FilePart {
  UniqueFd file;
  std::uint64_t offset = 0;
  std::uint64_t size = 0;
};

struct Streamed {
  std::unique_ptr<Source> source;
  std::optional<std::uint64_t> size;  // where it is known, and has to be kept to
};

struct Response {
  unsigned status = 200;
  Fields headers;
  // A view is of what lives as long as the program.
  std::variant<std::string, std::string_view, FilePart, Streamed> body;
};

// Takes the body of a request. When it goes before the end was told, the client has gone.
class Receiver {
 public:
  // To be called once, from any thread.
  using Answer = std::function<void(Response)>;

  virtual ~Receiver() = default;

  // False when the rest is not even worth being thrown away: the connection is cut.
  virtual bool Take(std::string_view bytes) = 0;
  virtual void Finish(Answer answer) = 0;
};

// What answers requests, all on one thread.
class Site {
 public:
  virtual ~Site() = default;

  // Answers at once, where the body does not matter, or takes the body first.
  virtual std::variant<Response, std::unique_ptr<Receiver>> Begin(const Request& request) = 0;
};

#endif
