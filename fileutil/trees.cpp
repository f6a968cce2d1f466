// The copying and moving of directory trees.
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "fileutil/copy_file.h"
#include "fileutil/fileutil.h"
#include "fileutil/places.h"
#include "fileutil/result_codes.h"
#include "platform/kav_tool/kav_tool.h"

namespace {

// A walk into a directory that grows below itself would not end.
bool LiesInside(const std::string& path, const std::string& directory) {
  if (AreSame(path.c_str(), directory.c_str())) return true;
  std::error_code error;
  const auto inner = std::filesystem::weakly_canonical(path, error);
  if (error) return false;
  const auto outer = std::filesystem::weakly_canonical(directory, error);
  if (error) return false;
  return std::mismatch(outer.begin(), outer.end(), inner.begin(), inner.end()).first == outer.end();
}

// The same at a level of a walk whose levels above have passed the test: only a link leads back.
bool LeadsInside(const std::string& path, const std::string& directory) {
  std::error_code error;
  return std::filesystem::is_symlink(path, error) ? LiesInside(path, directory)
                                                  : AreSame(path.c_str(), directory.c_str());
}

struct CloseDirectory {
  void operator()(DIR* directory) const { closedir(directory); }
};

struct DirectoryEntry {
  std::string name;
  bool isDirectory;
};

bool IsDirectory(DIR* directory, const dirent& entry) {
  if (entry.d_type != DT_UNKNOWN) return entry.d_type == DT_DIR;
  struct stat status = {};
  return fstatat(dirfd(directory), entry.d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
         S_ISDIR(status.st_mode);
}

// Reads all entries at once, so that no directory stays open while those below it are handled.
// EPUB_OK, also for a missing directory; EPUB_E_FAILED for one that cannot be read.
EpubResult ListDirectory(const char* path, std::vector<DirectoryEntry>& entries) {
  const std::unique_ptr<DIR, CloseDirectory> directory(opendir(path));
  if (!directory) return errno == ENOENT ? EPUB_OK : EPUB_E_FAILED;
  errno = 0;
  // Only one thread reads this stream, so readdir is safe.
  while (const dirent* entry = readdir(directory.get())) {  // NOLINT(concurrency-mt-unsafe)
    const std::string name = entry->d_name;
    if (name != "." && name != "..")
      entries.push_back({name, IsDirectory(directory.get(), *entry)});
    errno = 0;
  }
  return errno == 0 ? EPUB_OK : EPUB_E_FAILED;
}

// Of a path that has a "/".
std::string DirectoryOf(const std::string& path) {
  return path.substr(0, path.rfind('/'));
}

// Gives a copy the owner, permissions and times of the original, as far as the file system knows
// them and this process may.
void Resemble(const std::string& path, const struct stat& original) {
  constexpr mode_t kPermissions = 0777;
  std::ignore = lchown(path.c_str(), original.st_uid, original.st_gid);
  if (!S_ISLNK(original.st_mode)) chmod(path.c_str(), original.st_mode & kPermissions);
  const timespec times[] = {original.st_atim, original.st_mtim};
  utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW);
}

// Copies what is no directory to a name that is free.
bool CopyEntry(const std::string& from, const std::string& to) {
  struct stat status {};
  if (lstat(from.c_str(), &status) != 0) return false;
  const FileIdentity identity{status.st_dev, status.st_ino};
  if (S_ISREG(status.st_mode)) {
    if (!CopyFileReporting(from.c_str(), to.c_str(), &identity).complete) return false;
  } else if (S_ISLNK(status.st_mode)) {
    std::error_code error;
    std::filesystem::copy_symlink(from, to, error);
    if (error) return false;
  } else if (mknod(to.c_str(), status.st_mode, status.st_rdev) != 0) {
    return false;
  }
  Resemble(to, status);
  return true;
}

// Moves what is no directory. Between file systems it is copied into a directory of its own first,
// so that what it replaces is there until then.
bool MoveEntry(const std::string& from, const std::string& to) {
  if (std::rename(from.c_str(), to.c_str()) == 0) return true;
  if (errno != EXDEV) return false;
  std::string aside = DirectoryOf(to) + "/.move-XXXXXX";
  if (mkdtemp(aside.data()) == nullptr) return false;
  const std::string copy = aside + "/copy";
  const bool isMoved = CopyEntry(from, copy) && std::rename(copy.c_str(), to.c_str()) == 0;
  if (!isMoved) unlink(copy.c_str());
  rmdir(aside.c_str());
  return isMoved && unlink(from.c_str()) == 0;
}

// A directory, its counterpart, and the entries still to be handled, the next one last.
struct Level {
  std::string src;
  std::string dst;
  std::vector<DirectoryEntry> entries;
};

// Goes through a directory and all below it, each with its counterpart: begin prepares that of a
// directory, handle takes all else, end comes when a directory is done. The first failure ends the
// walk. It needs no recursion: a path can name more levels than a stack has room for.
int WalkTree(const std::string& src, const std::string& dst, const auto& begin, const auto& handle,
             const auto& end) {
  std::vector<Level> levels;
  const auto enter = [&](const std::string& from, const std::string& to) {
    Level level{from, to, {}};
    if (!begin(from, to)) return EPUB_E_FAILED;
    const EpubResult code = ListDirectory(from.c_str(), level.entries);
    std::reverse(level.entries.begin(), level.entries.end());
    if (code == EPUB_OK) levels.push_back(std::move(level));
    return code;
  };
  if (const EpubResult code = enter(src, dst); code != EPUB_OK) return code;
  while (!levels.empty()) {
    Level& level = levels.back();
    if (level.entries.empty()) {
      end(level.src);
      levels.pop_back();
      continue;
    }
    const DirectoryEntry entry = std::move(level.entries.back());
    level.entries.pop_back();
    const std::string from = level.src + "/" + entry.name;
    const std::string to = level.dst + "/" + entry.name;
    if (entry.isDirectory ? enter(from, to) != EPUB_OK : !handle(from, to)) return EPUB_E_FAILED;
  }
  return EPUB_OK;
}

}  // namespace

int CopyFileOrDir(const char* src, const char* dst) {
  if (!AreGiven(src, dst) || KavIsFileOrDirExists(dst) == 0) return EPUB_E_FAILED;
  if (KavIsFileExists(src) != 0) return CopyFile(src, dst);
  if (LiesInside(dst, src)) return EPUB_E_FAILED;
  const auto begin = [](const std::string& from, const std::string& to) {
    const std::string into = DirectoryOf(to);
    if (KavIsFileOrDirExists(into.c_str()) == 0 || KavIsFileExists(into.c_str()) != 0) return false;
    if (LeadsInside(into, from)) return false;
    KavMkdir(to.c_str());
    return true;
  };
  const auto copy = [](const std::string& from, const std::string& to) {
    return CopyFile(from.c_str(), DirectoryOf(to).c_str()) == EPUB_OK;
  };
  std::string name;
  std::string directory;
  GetFileOrDirFromPath(src, name, directory);
  return WalkTree(src, dst + ("/" + name), begin, copy, [](const std::string&) {});
}

int MoveDir(const char* src, const char* dst) {
  if (!AreGiven(src, dst) || LiesInside(dst, src)) return EPUB_E_FAILED;
  const auto begin = [](const std::string& from, const std::string& to) {
    if (LeadsInside(to, from)) return false;
    if (KavIsFileOrDirExists(to.c_str()) != 0) return true;
    if (!ContainingDirectoryExists(to.c_str())) return false;
    KavMkdir(to.c_str());
    return true;
  };
  return WalkTree(src, dst, begin, MoveEntry,
                  [](const std::string& from) { KavDeleteDir(from.c_str()); });
}
