// Reading of a regular file into memory.
#include "base/read_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace {

constexpr size_t kReadChunk = size_t{64} * 1024;

// Appends up to one chunk; the number of bytes read, 0 at the end, negative on failure.
ssize_t AppendChunk(int file, std::string& content) {
  const size_t size = content.size();
  content.resize(size + kReadChunk);
  ssize_t count = -1;
  do {
    count = read(file, content.data() + size, kReadChunk);
  } while (count < 0 && errno == EINTR);
  content.resize(size + (count > 0 ? static_cast<size_t>(count) : 0));
  return count;
}

}  // namespace

UniqueFd OpenRegularFile(const char* path, const FileIdentity* expected) {
  if (path == nullptr) return {};
  // Without O_NONBLOCK the open of a pipe would already wait for a writer.
  UniqueFd file(open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status {};
  if (!file || fstat(file.Get(), &status) != 0 || !S_ISREG(status.st_mode)) return {};
  const bool isExpected = expected == nullptr ||
                          (status.st_dev == expected->device && status.st_ino == expected->inode);
  return isExpected ? std::move(file) : UniqueFd();
}

std::optional<std::string> ReadRegularFile(const char* path, const FileIdentity* expected) {
  const UniqueFd file = OpenRegularFile(path, expected);
  struct stat status {};
  if (!file || fstat(file.Get(), &status) != 0) return std::nullopt;
  std::string content;
  content.reserve(static_cast<size_t>(status.st_size) + kReadChunk);
  ssize_t count = 0;
  do {
    count = AppendChunk(file.Get(), content);
  } while (count > 0);
  if (count < 0) return std::nullopt;
  return content;
}
