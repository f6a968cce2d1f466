// Moving through a directory tree by descriptors.
#include "base/directory_cursor.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>

namespace {

constexpr int kDirectoryFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

}  // namespace

bool DirectoryCursor::Open(const char* path, int extraFlags) {
  way.clear();
  return Adopt(UniqueFd(open(path, kDirectoryFlags | extraFlags)));
}

bool DirectoryCursor::Enter(const char* name) {
  return Adopt(UniqueFd(openat(Fd(), name, kDirectoryFlags | O_NOFOLLOW)));
}

bool DirectoryCursor::Leave() {
  UniqueFd parent(openat(Fd(), "..", kDirectoryFlags));
  struct stat status {};
  if (!parent || fstat(parent.Get(), &status) != 0) return false;
  way.pop_back();
  if (way.empty() || way.back() != Identity{status.st_dev, status.st_ino}) return false;
  current = std::move(parent);
  return true;
}

bool DirectoryCursor::Adopt(UniqueFd directory) {
  struct stat status {};
  // By "." and not by fstat(): it fails in a directory without search permission, which could not
  // be left through ".." either.
  if (!directory || fstatat(directory.Get(), ".", &status, 0) != 0) return false;
  way.push_back({status.st_dev, status.st_ino});
  current = std::move(directory);
  return true;
}

DIR* DirectoryCursor::OpenStream() const {
  const int descriptor = openat(Fd(), ".", kDirectoryFlags);
  if (descriptor < 0) return nullptr;
  DIR* stream = fdopendir(descriptor);
  if (stream == nullptr) close(descriptor);
  return stream;
}

const dirent* DirectoryCursor::NextEntry(DIR* stream, bool& failed) {
  for (;;) {
    errno = 0;
    const dirent* entry = readdir(stream);
    if (entry == nullptr) {
      failed = errno != 0;
      return nullptr;
    }
    if (strcmp(entry->d_name, ".") != 0 && strcmp(entry->d_name, "..") != 0) return entry;
  }
}
