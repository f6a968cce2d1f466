// Opens files below a directory in one step, so that nothing can be exchanged between two.
#include "base/directory_root.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <new>
#include <optional>
#include <string_view>
#include <utility>

namespace {

// Without O_NONBLOCK the open of a pipe would already wait for a writer.
constexpr int kFlags = O_RDONLY | O_CLOEXEC | O_NONBLOCK;

// Empty where it leads nowhere.
std::string ResolvedPath(const std::string& path) {
  const std::unique_ptr<char, decltype(&std::free)> resolved(realpath(path.c_str(), nullptr),
                                                             &std::free);
  if (resolved == nullptr && errno == ENOMEM) throw std::bad_alloc();
  return resolved == nullptr ? std::string() : std::string(resolved.get());
}

UniqueFd IfRegular(UniqueFd file) {
  struct stat status {};
  const bool isRegular = file && fstat(file.Get(), &status) == 0 && S_ISREG(status.st_mode);
  return isRegular ? std::move(file) : UniqueFd();
}

// Kernels before 5.6, and guards that do not know the call, go step by step and follow no links.
UniqueFd OpenStepByStep(int directory, std::string_view path) {
  UniqueFd place(fcntl(directory, F_DUPFD_CLOEXEC, 0));
  while (place && !path.empty()) {
    const std::string name(path.substr(0, path.find('/')));
    path.remove_prefix(name.size());
    const bool isLast = path.empty();
    if (!isLast) path.remove_prefix(1);
    if (name.empty() || name == ".") continue;
    if (name == "..") return {};
    const int flags = isLast ? kFlags | O_NOFOLLOW : O_PATH | O_CLOEXEC | O_DIRECTORY | O_NOFOLLOW;
    place = UniqueFd(openat(place.Get(), name.c_str(), flags));
  }
  return place;
}

UniqueFd OpenBelow(int directory, const std::string& path, std::uint64_t resolve) {
  open_how how{};
  how.flags = kFlags;
  how.resolve = RESOLVE_BENEATH | RESOLVE_NO_MAGICLINKS | resolve;
  UniqueFd file(static_cast<int>(syscall(SYS_openat2, directory, path.c_str(), &how, sizeof how)));
  if (file || (errno != ENOSYS && errno != EPERM)) return file;
  return OpenStepByStep(directory, path);
}

}  // namespace

DirectoryRoot::DirectoryRoot(const std::string& path)
    : directory(open(path.c_str(), O_PATH | O_CLOEXEC | O_DIRECTORY)),
      resolved(ResolvedPath(path)) {
  if (!resolved.empty() && !resolved.ends_with('/')) resolved += '/';
}

UniqueFd DirectoryRoot::Open(const std::string& path) const {
  if (!directory || path.empty() || path.find('\0') != std::string::npos) return {};
  UniqueFd file = OpenBelow(directory.Get(), path, 0);
  if (!file && errno == EXDEV) file = OpenResolved(path);
  return IfRegular(std::move(file));
}

std::optional<std::string> DirectoryRoot::WayTo(const std::string& path) const {
  std::string target = ResolvedPath(path);
  if (!target.ends_with('/')) target += '/';
  if (!directory || resolved.empty() || !target.starts_with(resolved)) return std::nullopt;
  return target.substr(resolved.size());
}

// An absolute link may lead below the directory all the same.
UniqueFd DirectoryRoot::OpenResolved(const std::string& path) const {
  const std::string target = ResolvedPath(resolved + path);
  if (resolved.empty() || !target.starts_with(resolved)) return {};
  return OpenBelow(directory.Get(), target.substr(resolved.size()), RESOLVE_NO_SYMLINKS);
}
