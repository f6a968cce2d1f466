// Finds the files of an import, keeps them inside its roots and tells which are the same.
#include "builder/import_files.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <string_view>
#include <utility>

#include "fileutil/fileutil.h"
#include "xml/name_lists.h"

namespace {

// What the system answers of paths that lead to no file for this user.
constexpr int kMissing[] = {ENOENT, ENOTDIR, EACCES, ELOOP, ENAMETOOLONG, EINVAL};

// Opens the file for looks only, where no part of the path is a symbolic link. Kernels before 5.6,
// and guards that do not know the call, look at the last part alone.
UniqueFd OpenWithoutLinks(const std::string& path) {
  open_how how{};
  how.flags = O_PATH | O_CLOEXEC | O_NOFOLLOW;
  how.resolve = RESOLVE_NO_SYMLINKS;
  UniqueFd file(static_cast<int>(syscall(SYS_openat2, AT_FDCWD, path.c_str(), &how, sizeof how)));
  if (file || (errno != ENOSYS && errno != EPERM)) return file;
  return UniqueFd(open(path.c_str(), O_PATH | O_CLOEXEC | O_NOFOLLOW));
}

std::string_view BaseName(std::string_view path) {
  return path.substr(path.rfind('/') + 1);
}

bool IsPage(const std::string& path) {
  return IsPartOfListed(kPageExtensions, path.substr(path.rfind('.') + 1));  // npos + 1 is 0
}

}  // namespace

ImportFiles::ImportFiles(const std::string& htmlPath, const std::string& widerRoot,
                         EntryNames& entryNames)
    : names(entryNames) {
  std::string name;
  std::string directory;
  GetFileOrDirFromPath(htmlPath.c_str(), name, directory);
  roots.push_back(Resolved(directory.empty() ? "/" : directory));
  if (!widerRoot.empty()) roots.push_back(Resolved(widerRoot));
}

size_t ImportFiles::Add(ImportFile file) {
  struct stat status {};
  if (stat(file.path.c_str(), &status) == 0) {
    file.identity = {status.st_dev, status.st_ino};
    numbers.emplace(Identity(status.st_dev, status.st_ino, file.isPage), files.size());
  }
  files.push_back(std::move(file));
  return files.size() - 1;
}

// Whether the last call failed because there is no such file; else it could not tell.
bool ImportFiles::FailsBecauseMissing() {
  const bool isMissing =
      std::find(std::begin(kMissing), std::end(kMissing), errno) != std::end(kMissing);
  hasFailed = hasFailed || !isMissing;
  return isMissing;
}

// The path without symbolic links and ".."; empty when it does not exist.
std::string ImportFiles::Resolved(const std::string& path) {
  const std::unique_ptr<char, decltype(&std::free)> resolved(realpath(path.c_str(), nullptr),
                                                             &std::free);
  if (resolved != nullptr) return resolved.get();
  FailsBecauseMissing();
  return {};
}

// A link put into a path that has been resolved leads to no file: it may leave the roots.
bool ImportFiles::Identify(const std::string& resolved, FileIdentity& identity) {
  const UniqueFd file = OpenWithoutLinks(resolved);
  if (!file) {
    FailsBecauseMissing();
    return false;
  }
  struct stat status {};
  if (fstat(file.Get(), &status) != 0 || !S_ISREG(status.st_mode)) return false;
  identity = {status.st_dev, status.st_ino};
  return access(resolved.c_str(), R_OK) == 0;
}

bool ImportFiles::IsBelowRoot(const std::string& resolved) const {
  return std::any_of(roots.begin(), roots.end(), [&](const std::string& root) {
    if (root.empty() || !resolved.starts_with(root)) return false;
    return root == "/" || resolved[root.size()] == '/';
  });
}

const std::string& ImportFiles::ResolvedDirectory(const std::string& directory) {
  const auto [entry, isNew] = resolvedDirectories.try_emplace(directory);
  if (isNew) entry->second = Resolved(directory.empty() ? "/" : directory);
  return entry->second;
}

std::optional<ImportFiles::Place> ImportFiles::Find(const std::string& path) {
  if (path.find('\0') != std::string::npos) return std::nullopt;
  const auto [entry, isNew] = places.try_emplace(path);
  if (!isNew) return entry->second;
  const std::string_view name = BaseName(path);
  std::string directory = ResolvedDirectory(path.substr(0, path.size() - name.size()));
  if (directory.empty() || name.empty()) return std::nullopt;
  // The path without ".." does not grow along a chain of pages that go up and down again.
  if (directory != "/") directory += "/";
  Place place{directory + std::string(name), {}};
  const std::string resolved = Resolved(place.path);
  if (!IsBelowRoot(resolved) || !Identify(resolved, place.identity)) return std::nullopt;
  return entry->second = place;
}

bool ImportFiles::IsAllowed(const std::string& path) {
  return Find(path).has_value();
}

size_t ImportFiles::NumberOf(const std::string& path) {
  const auto place = Find(path);
  const bool isPage = IsPage(path);
  const auto [entry, isNew] = numbers.try_emplace(
      Identity(place->identity.device, place->identity.inode, isPage), files.size());
  if (isNew) {
    files.push_back(
        {place->path, names.Claim(std::string(BaseName(path))), isPage, false, place->identity});
  }
  return entry->second;
}
