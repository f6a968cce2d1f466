// Begins and ends the server.
#include "hosts/serve/server/serve.h"

#include <fcntl.h>
#include <malloc.h>
#include <netinet/in.h>
#include <signal.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>

#include "hosts/kavepub/console/failure.h"
#include "hosts/kavepub/console/interruption.h"
#include "hosts/kavepub/console/standard_output.h"
#include "hosts/kavepub/make/workshop.h"
#include "hosts/serve/server/book_site.h"

namespace {

namespace fs = std::filesystem;

constexpr rlim_t kMostFiles = 8192;

fs::path PlaceOfUser() {
  const char* state = std::getenv("XDG_STATE_HOME");
  const char* home = std::getenv("HOME");
  if (state != nullptr && *state == '/') return fs::path(state) / "kavepub/serve";
  if (home != nullptr && *home == '/') return fs::path(home) / ".local/state/kavepub/serve";
  throw WrongUsage("there is no directory of a user to keep books in; name one by --store");
}

// What a busy hour took goes back to the system after it: with one heap for all threads, and none
// of the large pieces in it.
void KeepLittleMemory() {
  constexpr int kLargePiece = 65536;
  mallopt(M_ARENA_MAX, 1);
  mallopt(M_MMAP_THRESHOLD, kLargePiece);
  mallopt(M_TRIM_THRESHOLD, kLargePiece);
}

// A connection takes one or two.
void AllowManyFiles() {
  rlimit limit{};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
  limit.rlim_cur = std::min(limit.rlim_max, kMostFiles);
  setrlimit(RLIMIT_NOFILE, &limit);
}

bool IsLoopback(const std::string& host) {
  return host == "::1" || host.starts_with("127.");
}

std::string AddressOf(const Endpoint& endpoint) {
  const bool isSix = endpoint.host.find(':') != std::string::npos;
  const std::string host = isSix ? "[" + endpoint.host + "]" : endpoint.host;
  return "http://" + host + ":" + std::to_string(endpoint.port) + "/";
}

void OpenBrowser(const std::string& address) {
  std::string program = "xdg-open";
  std::string page = address;
  char* const arguments[] = {program.data(), page.data(), nullptr};
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  for (const int stream : {STDOUT_FILENO, STDERR_FILENO}) {
    posix_spawn_file_actions_addopen(&actions, stream, "/dev/null", O_WRONLY, 0);
  }
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  sigset_t none;
  sigemptyset(&none);
  posix_spawnattr_setsigmask(&attributes, &none);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
  pid_t child = 0;
  if (posix_spawnp(&child, arguments[0], &actions, &attributes, arguments, environ) != 0) {
    std::fputs("kavepub: warning: no browser can be opened; open the address yourself\n", stderr);
  }
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
}

// Those that end the server. Threads that are started from now on leave them to the one that waits.
class EndSignals {
 public:
  EndSignals() {
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&signals, signal);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    signal(SIGXFSZ, SIG_IGN);
  }

  void Wait() const {
    int signal = 0;
    while (sigwait(&signals, &signal) != 0) continue;
  }

 private:
  sigset_t signals{};
};

void WarnOfLeaks(const Workshop& workshop) {
  if (workshop.Lacking().empty()) return;
  std::fprintf(stderr,
               "kavepub: warning: this system has no %s, so that books are made in cells that "
               "leak; see `kavepub doctor`\n",
               workshop.Lacking().c_str());
}

}  // namespace

void Serve(const ServeSettings& settings) {
  constexpr mode_t kOfOthers = 077;
  umask(kOfOthers);
  const bool isOpen = !IsLoopback(settings.endpoint.host);
  if (isOpen && settings.passwordFile.empty()) {
    throw WrongUsage("others could reach " + settings.endpoint.host +
                     ", so that it needs a password; name a file of one by --password-file");
  }
  const Workshop workshop(settings.sandbox);
  WarnOfLeaks(workshop);
  const EndSignals signals;
  AllowManyFiles();
  KeepLittleMemory();
  std::optional<Password> password;
  if (!settings.passwordFile.empty()) password.emplace(settings.passwordFile);
  Endpoint endpoint = settings.endpoint;
  UniqueFd listening = ListenAt(endpoint);

  Store store(settings.store.empty() ? PlaceOfUser() : settings.store, settings.room);
  Shelf shelf(store, workshop, settings.limits, settings.jobs);
  Sessions sessions(store, password.has_value());
  {
    BookSite site(shelf, sessions, Guard(endpoint.port, isOpen, settings.names),
                  password ? &*password : nullptr);
    const HttpServer server(std::move(listening), site,
                            std::chrono::seconds(settings.graceSeconds));
    Say(AddressOf(endpoint));
    if (settings.opensBrowser) OpenBrowser(AddressOf(endpoint));
    signals.Wait();
    Interrupt();  // what is being made
  }
}
