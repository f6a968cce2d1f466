// A fresh directory for one test, and the ways to fill and look at it.
#ifndef KAV_TESTS_SCRATCH_DIR_H
#define KAV_TESTS_SCRATCH_DIR_H

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>

class ScratchDir {
 public:
  ScratchDir() : root(testing::TempDir() + "kav-test-XXXXXX") {
    if (mkdtemp(root.data()) == nullptr) std::abort();
    std::filesystem::permissions(root, std::filesystem::perms::all);
  }
  ~ScratchDir() {
    std::error_code ignored;
    std::filesystem::remove_all(root, ignored);
  }
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;

  std::string operator/(const std::string& name) const { return root + "/" + name; }

 private:
  std::string root;
};

inline void WriteFile(const std::string& path, const std::string& content) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream(path, std::ios::binary) << content;
}

inline std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// What the body returns, when run in a process of its own; the signal's number, negated, when one
// ended it.
inline int InChild(const std::function<int()>& body) {
  const pid_t child = fork();
  if (child == 0) _exit(body());
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

// Makes the process an ordinary user's: permissions mean nothing to root. False when it cannot.
inline bool BecomeOrdinaryUser() {
  constexpr uid_t kNobody = 65534;
  return geteuid() != 0 || setresuid(kNobody, kNobody, kNobody) == 0;
}

#endif
