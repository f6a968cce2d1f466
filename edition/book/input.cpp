// Reading of inputs at any place.
#include "edition/book/input.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>

#include "base/read_file.h"

namespace {

std::int64_t TimeOf(const struct stat& status) {
  constexpr std::int64_t kNanosecondsASecond = 1'000'000'000;
  return status.st_mtim.tv_sec * kNanosecondsASecond + status.st_mtim.tv_nsec;
}

Failure Unreadable(const std::string& name, int error) {
  return {KAVEPUB_E_INPUT, name + ": " + std::generic_category().message(error)};
}

}  // namespace

Result<Input> Input::Open(const std::string& path) {
  Input input;
  input.name = path;
  input.path = path;
  errno = 0;
  input.file = OpenRegularFile(path.c_str());
  if (!input.file) {
    if (errno != 0) return Unreadable(path, errno);
    return Failure{KAVEPUB_E_INPUT, path + ": is not a regular file"};
  }
  struct stat status {};
  if (fstat(input.file.Get(), &status) != 0) return Unreadable(path, errno);
  input.size = static_cast<std::uint64_t>(status.st_size);
  input.changed = TimeOf(status);
  return input;
}

Input Input::OfMemory(std::string name, std::string_view bytes) {
  Input input;
  input.name = std::move(name);
  input.memory = bytes;
  input.size = bytes.size();
  return input;
}

Result<size_t> Input::Read(std::uint64_t offset, char* buffer, size_t capacity) const {
  const size_t wanted =
      static_cast<size_t>(std::min<std::uint64_t>(capacity, offset < size ? size - offset : 0));
  if (!file) {
    if (wanted > 0) std::memcpy(buffer, memory.data() + offset, wanted);
    return wanted;
  }
  size_t taken = 0;
  while (taken < wanted) {
    const ssize_t count =
        pread(file.Get(), buffer + taken, wanted - taken, static_cast<off_t>(offset + taken));
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return Unreadable(name, errno);
    if (count == 0) break;
    taken += static_cast<size_t>(count);
  }
  struct stat status {};
  if (fstat(file.Get(), &status) != 0) return Unreadable(name, errno);
  if (taken < wanted || static_cast<std::uint64_t>(status.st_size) != size ||
      TimeOf(status) != changed) {
    return Failure{KAVEPUB_E_INPUT, name + ": has changed while it was read; try again"};
  }
  return taken;
}
