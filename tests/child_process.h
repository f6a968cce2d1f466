// Child processes, for what a test must not do to its own process: giving up rights, limits.
#ifndef KAV_EPUB_TESTS_CHILD_PROCESS_H
#define KAV_EPUB_TESTS_CHILD_PROCESS_H

#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>

inline constexpr int kChildDied = -1000;
inline constexpr int kNotPermitted = -1001;
inline constexpr uid_t kNobody = 65534;

// The result of an operation in a child process of its own.
inline int InChild(const std::function<int()>& operation) {
  int ends[2];
  if (pipe(ends) != 0) return kChildDied;
  const pid_t child = fork();
  if (child == 0) {
    const int result = operation();
    _exit(write(ends[1], &result, sizeof result) == sizeof result ? 0 : 1);
  }
  close(ends[1]);
  int result = kChildDied;
  if (read(ends[0], &result, sizeof result) != sizeof result) result = kChildDied;
  close(ends[0]);
  waitpid(child, nullptr, 0);
  return result;
}

// Runs it as a user without rights, who owns the directory itself but nothing in it.
inline int AsNobody(const std::string& directory, const std::function<int()>& operation) {
  return InChild([&] {
    if (geteuid() != 0 || chown(directory.c_str(), kNobody, kNobody) != 0 || setgid(kNobody) != 0 ||
        setuid(kNobody) != 0) {
      return kNotPermitted;
    }
    return operation();
  });
}

// Runs it as whoever is no superuser: permissions mean nothing to root.
inline int AsOrdinaryUser(const std::string& directory, const std::function<int()>& operation) {
  return geteuid() == 0 ? AsNobody(directory, operation) : InChild(operation);
}

// Runs it under a limit of one resource, until it raises the limit.
inline int WithLimit(auto resource, rlim_t most, const std::function<int()>& operation) {
  return InChild([&] {
    rlimit limit{};
    if (getrlimit(resource, &limit) != 0) return kNotPermitted;
    limit.rlim_cur = most;
    return setrlimit(resource, &limit) == 0 ? operation() : kNotPermitted;
  });
}

// Runs it where no file can grow beyond a size.
inline int WithFileLimit(rlim_t bytes, const std::function<int()>& operation) {
  return WithLimit(RLIMIT_FSIZE, bytes, [&] { return std::signal(SIGXFSZ, SIG_IGN), operation(); });
}

// Runs it with a small file system of its own at a directory.
inline int OnSmallDisk(const std::string& directory, const char* options,
                       const std::function<int()>& operation) {
  return InChild([&] {
    std::filesystem::create_directory(directory);
    if (unshare(CLONE_NEWNS) != 0 || mount("", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("tmpfs", directory.c_str(), "tmpfs", 0, options) != 0) {
      return kNotPermitted;
    }
    return operation();
  });
}

#endif
