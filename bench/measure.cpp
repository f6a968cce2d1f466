// Runs a command and prints what it cost: wall seconds, CPU seconds, peak memory in KiB.
//
//   measure LIMIT COMMAND [ARGUMENT...]
//
// Its output is discarded; after LIMIT seconds it is killed with all its processes. A process
// begins with the peak memory of the one that it comes from, so a host larger than this little one
// would spoil the figure.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace {

constexpr int kTimedOut = 124;

double Seconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

[[noreturn]] void Become(char** command, const sigset_t& signals) {
  setpgid(0, 0);
  sigprocmask(SIG_SETMASK, &signals, nullptr);
  dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), STDOUT_FILENO);
  execvp(command[0], command);
  _exit(127);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) return 2;
  sigset_t awaited;
  sigset_t before;
  sigemptyset(&awaited);
  for (const int signal : {SIGCHLD, SIGINT, SIGTERM}) sigaddset(&awaited, signal);
  sigprocmask(SIG_BLOCK, &awaited, &before);

  const auto start = std::chrono::steady_clock::now();
  const pid_t child = fork();
  if (child < 0) return 1;
  if (child == 0) Become(argv + 2, before);
  const timespec limit{std::strtol(argv[1], nullptr, 10), 0};
  const bool ended = sigtimedwait(&awaited, nullptr, &limit) == SIGCHLD;
  if (!ended) kill(-child, SIGKILL);
  int status = 0;
  rusage usage{};
  if (wait4(child, &status, 0, &usage) != child) return 1;
  const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - start;
  if (!ended) return kTimedOut;

  std::printf("%.6f %.6f %ld\n", wall.count(), Seconds(usage.ru_utime) + Seconds(usage.ru_stime),
              usage.ru_maxrss);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}
