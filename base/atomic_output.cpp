// The output file, which appears whole or not at all.
#include "base/atomic_output.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cinttypes>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <optional>

namespace {

constexpr mode_t kNewFileMode = 0666;  // the process's umask decides
constexpr mode_t kPermissionBits = 0777;
constexpr int kMostLinks = 40;
constexpr int kMostNameTrials = 100;

std::string DirectoryPart(const std::string& path) {
  return path.substr(0, path.rfind('/') + 1);  // with its slash; empty when there is none
}

// The path at the end of a chain of symbolic links; nothing when the chain does not end.
std::optional<std::string> FollowLinks(std::string path) {
  std::array<char, PATH_MAX> target{};
  for (int links = 0; links <= kMostLinks; ++links) {
    const ssize_t length = readlink(path.c_str(), target.data(), target.size());
    if (length < 0) return path;
    path = target[0] == '/' ? std::string() : DirectoryPart(path);
    path.append(target.data(), static_cast<size_t>(length));
  }
  return std::nullopt;
}

std::string TemporaryName(uint64_t number) {
  std::array<char, 32> name{};
  const int length = snprintf(name.data(), name.size(), ".kav-%016" PRIx64, number);
  return {name.data(), static_cast<size_t>(length)};
}

// Empty when the system has no random bytes for it.
std::string FreshName() {
  uint64_t number = 0;
  return getrandom(&number, sizeof number, 0) == sizeof number ? TemporaryName(number) : "";
}

// Calls attempt(name) with fresh names until one is not taken. The name of the success, else empty.
template <typename Attempt>
std::string WithFreshName(Attempt attempt) {
  for (int trial = 0; trial < kMostNameTrials; ++trial) {
    std::string name = FreshName();
    if (name.empty()) return {};
    if (attempt(name.c_str())) return name;
    if (errno != EEXIST) return {};
  }
  return {};
}

std::string DescriptorPath(int descriptor) {
  return "/proc/self/fd/" + std::to_string(descriptor);
}

// Some file systems know no synchronisation, which they answer with EINVAL.
bool Synchronise(int descriptor) {
  return fsync(descriptor) == 0 || errno == EINVAL;
}

}  // namespace

AtomicOutput::~AtomicOutput() {
  if (!temporaryName.empty()) unlinkat(directory.Get(), temporaryName.c_str(), 0);
}

bool AtomicOutput::Open(const char* path) {
  const std::optional<std::string> destination = FollowLinks(path);
  if (!destination) return false;
  const std::string folder = DirectoryPart(*destination);
  baseName = destination->substr(folder.size());
  directory =
      UniqueFd(open(folder.empty() ? "." : folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  if (baseName.empty() || !directory) return false;

  struct stat replaced {};
  const bool exists =
      fstatat(directory.Get(), baseName.c_str(), &replaced, AT_SYMLINK_NOFOLLOW) == 0;
  if (exists ? !S_ISREG(replaced.st_mode) : errno != ENOENT) return false;

  if (!OpenUnnamed() && !OpenNamed()) return false;
  // Before the first byte: what nobody else may read is never readable on the way either.
  if (exists && fchmod(Fd(), replaced.st_mode & kPermissionBits) != 0) return false;
  return true;
}

bool AtomicOutput::Commit() {
  if (!Synchronise(Fd())) return false;
  return temporaryName.empty() ? Publish() : Rename();
}

bool AtomicOutput::OpenUnnamed() {
  UniqueFd unnamed(openat(directory.Get(), ".", O_TMPFILE | O_RDWR | O_CLOEXEC, kNewFileMode));
  // Only through /proc can any process give it a name.
  if (!unnamed || access(DescriptorPath(unnamed.Get()).c_str(), F_OK) != 0) return false;
  file = std::move(unnamed);
  return true;
}

bool AtomicOutput::OpenNamed() {
  temporaryName = WithFreshName([this](const char* name) {
    constexpr int kFlags = O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC;
    file = UniqueFd(openat(directory.Get(), name, kFlags, kNewFileMode));
    return static_cast<bool>(file);
  });
  return !temporaryName.empty();
}

// Where nothing is, the file gets its name at once. A file that is there can only be replaced by
// one that has a name itself, if only until the rename. A process killed between the two leaves its
// file under a name with the number of the file it meant to replace, by which the next one that
// replaces that finds and removes it. From a process that lives this takes the name away, but it
// tries again.
bool AtomicOutput::Publish() {
  const int folder = directory.Get();
  for (int trial = 0; trial < kMostNameTrials; ++trial) {
    if (GiveName(baseName.c_str())) return true;
    if (errno != EEXIST) return false;
    struct stat replaced {};
    if (fstatat(folder, baseName.c_str(), &replaced, AT_SYMLINK_NOFOLLOW) != 0) continue;
    temporaryName = TemporaryName(replaced.st_ino);
    unlinkat(folder, temporaryName.c_str(), 0);
    if (!GiveName(temporaryName.c_str())) continue;
    if (Rename()) return true;
    if (errno != ENOENT) return false;
  }
  return false;
}

bool AtomicOutput::GiveName(const char* name) {
  const std::string unnamed = DescriptorPath(Fd());
  return linkat(AT_FDCWD, unnamed.c_str(), directory.Get(), name, AT_SYMLINK_FOLLOW) == 0;
}

bool AtomicOutput::Rename() {
  const int folder = directory.Get();
  if (renameat(folder, temporaryName.c_str(), folder, baseName.c_str()) != 0) return false;
  temporaryName.clear();
  return true;
}
