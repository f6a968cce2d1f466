// The process that makes cells of itself: it has read nothing of strangers, and never does.
#include "edition/cell/zygote.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>
#include <vector>

namespace {

constexpr size_t kMostEnds = 3;

// The message that carries descriptors: one byte, which tells nothing.
class Parcel {
 public:
  Parcel() {
    message.msg_iov = &vector;
    message.msg_iovlen = 1;
    message.msg_control = room.data();
    message.msg_controllen = room.size();
  }
  Parcel(const Parcel&) = delete;
  Parcel& operator=(const Parcel&) = delete;

  void Put(const std::vector<int>& descriptors) {
    const size_t size = descriptors.size() * sizeof(int);
    message.msg_controllen = CMSG_SPACE(size);
    cmsghdr* head = CMSG_FIRSTHDR(&message);
    head->cmsg_level = SOL_SOCKET;
    head->cmsg_type = SCM_RIGHTS;
    head->cmsg_len = CMSG_LEN(size);
    std::memcpy(CMSG_DATA(head), descriptors.data(), size);
  }

  CellEnds Take() {
    std::array<int, kMostEnds> taken{-1, -1, -1};
    const cmsghdr* head = CMSG_FIRSTHDR(&message);
    if (head != nullptr && head->cmsg_type == SCM_RIGHTS) {
      std::memcpy(taken.data(), CMSG_DATA(head), head->cmsg_len - CMSG_LEN(0));
    }
    return {UniqueFd(taken[0]), UniqueFd(taken[1]), UniqueFd(taken[2])};
  }

  msghdr message{};

 private:
  char byte = 0;
  iovec vector{&byte, 1};
  alignas(cmsghdr) std::array<char, CMSG_SPACE(kMostEnds * sizeof(int))> room{};
};

// Tells of children that have ended.
UniqueFd SignalsOfChildren() {
  sigset_t child;
  sigemptyset(&child);
  sigaddset(&child, SIGCHLD);
  pthread_sigmask(SIG_SETMASK, &child, nullptr);
  return UniqueFd(signalfd(-1, &child, SFD_CLOEXEC | SFD_NONBLOCK));
}

class Nursery {
 public:
  Nursery(UniqueFd toHost, const std::function<void()>& preparation,
          const std::function<void(const CellEnds&)>& life)
      : host(std::move(toHost)), prepare(preparation), live(life), signals(SignalsOfChildren()) {}

  [[noreturn]] void Run() {
    std::vector<pollfd> watched;
    for (;;) {
      watched = {{host.Get(), POLLIN, 0}, {signals.Get(), POLLIN, 0}};
      for (const Child& child : children) {
        watched.push_back({child.isEnding ? -1 : child.link.Get(), POLLIN, 0});
      }
      if (poll(watched.data(), watched.size(), -1) < 0) continue;
      for (size_t i = 0; i < children.size(); ++i) {
        if (watched[i + 2].revents != 0) End(children[i]);
      }
      if (watched[1].revents != 0) Reap();
      if (watched[0].revents != 0 && !Answer()) Close();
    }
  }

 private:
  struct Child {
    pid_t process;
    UniqueFd link;
    bool isEnding = false;
  };

  // False when the host has gone.
  bool Answer() {
    Parcel parcel;
    const ssize_t size = recvmsg(host.Get(), &parcel.message, MSG_CMSG_CLOEXEC);
    if (size < 0) return errno == EINTR || errno == EAGAIN;
    if (size == 0) return false;
    CellEnds ends = parcel.Take();
    if (!ends.channel || !ends.link) return true;
    if (++asked == 2) prepare();
    const pid_t zygote = getpid();
    const pid_t process = fork();
    if (process == 0) Begin(zygote, ends);
    if (process > 0) children.push_back({process, std::move(ends.link)});
    return true;  // without a process, the link that closes tells
  }

  [[noreturn]] void Begin(pid_t zygote, const CellEnds& ends) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    setpgid(0, 0);
    sigset_t none;
    sigemptyset(&none);
    pthread_sigmask(SIG_SETMASK, &none, nullptr);
    if (getppid() == zygote) live(ends);
    _exit(1);
  }

  // With all that it may have started.
  static void End(Child& child) {
    kill(child.process, SIGKILL);
    child.isEnding = true;
  }

  void Reap() {
    std::array<signalfd_siginfo, 16> told;
    while (read(signals.Get(), told.data(), sizeof told) > 0) continue;
    for (;;) {
      siginfo_t dead{};
      if (waitid(P_ALL, 0, &dead, WEXITED | WNOHANG | WNOWAIT) != 0 || dead.si_pid == 0) return;
      kill(-dead.si_pid, SIGKILL);
      int status = 0;
      rusage used{};
      wait4(dead.si_pid, &status, 0, &used);
      Tell(dead.si_pid, status, used);
    }
  }

  void Tell(pid_t process, int status, const rusage& used) {
    constexpr std::uint64_t kMicroseconds = 1'000'000;
    const auto child = std::find_if(children.begin(), children.end(), [&](const Child& candidate) {
      return candidate.process == process;
    });
    if (child == children.end()) return;
    const auto seconds = static_cast<std::uint64_t>(used.ru_utime.tv_sec + used.ru_stime.tv_sec);
    const auto rest = static_cast<std::uint64_t>(used.ru_utime.tv_usec + used.ru_stime.tv_usec);
    const CellEnd end = {status, seconds * kMicroseconds + rest,
                         static_cast<std::uint64_t>(used.ru_maxrss) * 1024};
    send(child->link.Get(), &end, sizeof end, MSG_NOSIGNAL | MSG_DONTWAIT);
    children.erase(child);
  }

  [[noreturn]] void Close() {
    for (Child& child : children) End(child);
    for (const Child& child : children) waitpid(child.process, nullptr, 0);
    _exit(0);
  }

  UniqueFd host;
  const std::function<void()>& prepare;
  const std::function<void(const CellEnds&)>& live;
  UniqueFd signals;
  std::vector<Child> children;
  unsigned asked = 0;
};

}  // namespace

bool AskForCell(int zygote, const CellEnds& ends) {
  Parcel parcel;
  std::vector<int> descriptors = {ends.channel.Get(), ends.link.Get()};
  if (ends.output) descriptors.push_back(ends.output.Get());
  parcel.Put(descriptors);
  ssize_t sent = -1;
  do {
    sent = sendmsg(zygote, &parcel.message, MSG_NOSIGNAL);
  } while (sent < 0 && errno == EINTR);
  return sent == 1;
}

void StandAlone() {
  setsid();
  for (int signal = 1; signal < SIGRTMIN; ++signal) {
    if (signal != SIGXFSZ) ::signal(signal, SIG_DFL);
  }
  sigset_t none;
  sigemptyset(&none);
  pthread_sigmask(SIG_SETMASK, &none, nullptr);
}

void RunZygote(UniqueFd host, const std::function<void()>& prepare,
               const std::function<void(const CellEnds&)>& live) {
  Nursery(std::move(host), prepare, live).Run();
}
