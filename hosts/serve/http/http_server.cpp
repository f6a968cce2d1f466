// Drives libmicrohttpd.
#include "hosts/serve/http/http_server.h"

#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <system_error>
#include <utility>

#include "hosts/kavepub/console/failure.h"
#include "hosts/serve/http/course.h"

namespace {

constexpr unsigned kMostConnections = 1000;
constexpr unsigned kMostOfAddress = 500;  // all clients of a proxy have one
constexpr unsigned kMostIdleSeconds = 120;
constexpr size_t kMemoryOfConnection = 32768;  // which bounds its headers, too

struct FreeAddresses {
  void operator()(addrinfo* owned) const { freeaddrinfo(owned); }
};

[[noreturn]] void FailToListen(const Endpoint& endpoint, int error) {
  throw Failure("cannot listen at " + endpoint.host + " port " + std::to_string(endpoint.port) +
                    " (" + std::generic_category().message(error) +
                    "); choose another by --port "
                    "or --listen",
                Cause::kMachine);
}

std::uint16_t PortOf(int socket) {
  sockaddr_storage bound{};
  socklen_t size = sizeof bound;
  getsockname(socket, reinterpret_cast<sockaddr*>(&bound), &size);
  const bool isSix = bound.ss_family == AF_INET6;
  return ntohs(isSix ? reinterpret_cast<const sockaddr_in6&>(bound).sin6_port
                     : reinterpret_cast<const sockaddr_in&>(bound).sin_port);
}

}  // namespace

UniqueFd ListenAt(Endpoint& endpoint) {
  addrinfo wanted{};
  wanted.ai_socktype = SOCK_STREAM;
  wanted.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV;
  addrinfo* found = nullptr;
  const std::string port = std::to_string(endpoint.port);
  if (getaddrinfo(endpoint.host.c_str(), port.c_str(), &wanted, &found) != 0) {
    FailToListen(endpoint, EADDRNOTAVAIL);
  }
  const std::unique_ptr<addrinfo, FreeAddresses> address(found);
  UniqueFd listening(socket(address->ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  constexpr int kOn = 1;
  setsockopt(listening.Get(), SOL_SOCKET, SO_REUSEADDR, &kOn, sizeof kOn);
  if (bind(listening.Get(), address->ai_addr, address->ai_addrlen) != 0 ||
      listen(listening.Get(), SOMAXCONN) != 0) {
    FailToListen(endpoint, errno);
  }
  endpoint.port = PortOf(listening.Get());
  return listening;
}

struct HttpServer::State {
  State(Site& of, std::chrono::milliseconds grace) : site(of), patience(grace) {}

  Course* NewCourse(MHD_Connection* connection);
  void Call();

  Site& site;
  Patience patience;
  std::atomic<bool> isEnding = false;
  std::mutex mutex;
  std::set<Course*> courses;
  MHD_Daemon* daemon = nullptr;
};

Course* HttpServer::State::NewCourse(MHD_Connection* connection) {
  const MHD_ConnectionInfo* info =
      LoadedMhd().getConnectionInfo(connection, MHD_CONNECTION_INFO_SOCKET_CONTEXT);
  if (info == nullptr || info->socket_context == nullptr) return nullptr;
  auto& turn = *static_cast<Patience::Turn*>(info->socket_context);
  auto course = std::make_unique<Course>(connection, turn, isEnding);
  const std::scoped_lock lock(mutex);
  courses.insert(course.get());
  return course.release();
}

void HttpServer::State::Call() {
  const std::scoped_lock lock(mutex);
  for (Course* course : courses) course->Call();
}

namespace {

using State = HttpServer::State;

void OnConnection(void* user, MHD_Connection* connection, void** context,
                  MHD_ConnectionNotificationCode what) {
  auto* turn = static_cast<Patience::Turn*>(*context);
  if (what == MHD_CONNECTION_NOTIFY_CLOSED) {
    *context = nullptr;
    delete turn;
    return;
  }
  const MHD_ConnectionInfo* info =
      LoadedMhd().getConnectionInfo(connection, MHD_CONNECTION_INFO_CONNECTION_FD);
  try {
    auto begun =
        std::make_unique<Patience::Turn>(static_cast<State*>(user)->patience, info->connect_fd);
    begun->Begin();
    *context = begun.release();
  } catch (...) {
    shutdown(info->connect_fd, SHUT_RDWR);
  }
}

MHD_Result OnRequest(void* user, MHD_Connection* connection, const char* path, const char* method,
                     const char* /*version*/, const char* bytes, size_t* size, void** context) {
  try {
    auto* course = static_cast<Course*>(*context);
    if (course == nullptr) {
      auto& state = *static_cast<State*>(user);
      *context = course = state.NewCourse(connection);
      return course == nullptr ? MHD_NO : course->Begin(state.site, path, method);
    }
    if (*size == 0) return course->End();
    return course->Take({bytes, std::exchange(*size, 0)});
  } catch (...) {
    return MHD_NO;
  }
}

void OnCompleted(void* user, MHD_Connection* /*connection*/, void** context,
                 MHD_RequestTerminationCode /*how*/) {
  auto& state = *static_cast<State*>(user);
  const std::unique_ptr<Course> course(static_cast<Course*>(std::exchange(*context, nullptr)));
  if (!course) return;
  course->Rest();
  const std::scoped_lock lock(state.mutex);
  state.courses.erase(course.get());
}

void Ignore(void* /*user*/, const char* /*format*/, va_list /*values*/) {}

}  // namespace

HttpServer::HttpServer(UniqueFd listening, Site& site, std::chrono::milliseconds grace)
    : state(std::make_unique<State>(site, grace)) {
  State* user = state.get();
  state->daemon = LoadedMhd().startDaemon(
      MHD_USE_EPOLL_INTERNAL_THREAD | MHD_ALLOW_SUSPEND_RESUME | MHD_USE_ERROR_LOG, 0, nullptr,
      nullptr, OnRequest, user, MHD_OPTION_EXTERNAL_LOGGER, Ignore, nullptr,
      MHD_OPTION_LISTEN_SOCKET, listening.Get(), MHD_OPTION_NOTIFY_CONNECTION, OnConnection, user,
      MHD_OPTION_NOTIFY_COMPLETED, OnCompleted, user, MHD_OPTION_CONNECTION_LIMIT, kMostConnections,
      MHD_OPTION_PER_IP_CONNECTION_LIMIT, kMostOfAddress, MHD_OPTION_CONNECTION_TIMEOUT,
      kMostIdleSeconds, MHD_OPTION_CONNECTION_MEMORY_LIMIT, kMemoryOfConnection,
      MHD_OPTION_STRICT_FOR_CLIENT, 1, MHD_OPTION_END);
  if (state->daemon == nullptr) throw Failure("the server cannot be started", Cause::kMachine);
  listening.Release();
}

HttpServer::~HttpServer() {
  state->isEnding = true;
  state->Call();
  LoadedMhd().stopDaemon(state->daemon);
}
