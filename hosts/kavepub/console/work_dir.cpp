// Makes and removes temporary directories, and those of killed runs.
#include "hosts/kavepub/console/work_dir.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <mutex>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "hosts/kavepub/console/failure.h"
#include "platform/kav_tool/kav_tool.h"

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kPrefix = "kavepub-";
constexpr std::string_view kRandomPart = "XXXXXX";
constexpr std::string_view kLockSuffix = ".lock";
constexpr mode_t kPrivate = 0700;

fs::path SystemPlace() {
  const char* chosen = std::getenv("TMPDIR");
  return chosen == nullptr || *chosen == '\0' ? "/tmp" : chosen;
}

bool IsOwn(const struct stat& status, mode_t type) {
  return (status.st_mode & S_IFMT) == type && status.st_uid == geteuid();
}

// Whether a file that is locked, and ours, is still there: whoever removes one holds its lock.
bool IsThere(const UniqueFd& file) {
  struct stat status = {};
  return fstat(file.Get(), &status) == 0 && IsOwn(status, S_IFREG) && status.st_nlink > 0;
}

// Where files cannot be locked, nobody removes any.
bool Lock(const UniqueFd& file) {
  const bool isFree = flock(file.Get(), LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
  return isFree && IsThere(file);
}

bool IsCalledLikeLock(const std::string& name) {
  return name.size() == kPrefix.size() + kRandomPart.size() + kLockSuffix.size() &&
         name.starts_with(kPrefix) && name.ends_with(kLockSuffix);
}

// Removes the directory of a lock that nobody holds, if both are ours.
void RemoveOrphan(const fs::path& lockPath) {
  const UniqueFd file(open(lockPath.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (!file || flock(file.Get(), LOCK_EX | LOCK_NB) != 0 || !IsThere(file)) return;
  const fs::path directory = fs::path(lockPath).replace_extension();
  struct stat status = {};
  if (lstat(directory.c_str(), &status) == 0) {
    if (!IsOwn(status, S_IFDIR)) return;
    KavDeleteDir(directory.c_str());
  }
  unlink(lockPath.c_str());
}

void RemoveOrphans(const fs::path& parent) {
  std::error_code error;
  for (fs::directory_iterator entry(parent, error), end; !error && entry != end;
       entry.increment(error)) {
    if (IsCalledLikeLock(entry->path().filename())) RemoveOrphan(entry->path());
  }
}

}  // namespace

WorkDir::WorkDir(fs::path parent) {
  if (parent.empty()) parent = SystemPlace();
  static std::once_flag swept;
  std::call_once(swept, [&parent] { RemoveOrphans(parent); });
  constexpr int kMostTrials = 100;
  for (int trial = 0; trial < kMostTrials; ++trial) {
    if (Make(parent)) return;
  }
  throw Failure(parent,
                "no working directory can be made here: " + std::generic_category().message(errno) +
                    "; name a writable directory by TMPDIR or --work-dir",
                Cause::kDisk);
}

// False when somebody else took the name meanwhile, or no directory can be made.
bool WorkDir::Make(const fs::path& parent) {
  std::string name = parent / kPrefix;
  name.append(kRandomPart).append(kLockSuffix);
  lock = UniqueFd(mkostemps(name.data(), static_cast<int>(kLockSuffix.size()), O_CLOEXEC));
  if (!lock || !Lock(lock)) return false;
  const fs::path directory = fs::path(name).replace_extension();
  if (mkdir(directory.c_str(), kPrivate) == 0) {
    path = directory;
    return true;
  }
  const int error = errno;
  unlink(name.c_str());
  errno = error;
  return false;
}

WorkDir::~WorkDir() {
  KavDeleteDir(path.c_str());
  unlink((path.string() += kLockSuffix).c_str());
}
