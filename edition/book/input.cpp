// Reading of inputs at any place.
#include "edition/book/input.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>

namespace {

constexpr char kHasChanged[] = ": has changed while it was read; try again";

std::int64_t TimeOf(const struct stat& status) {
  constexpr std::int64_t kNanosecondsASecond = 1'000'000'000;
  return status.st_mtim.tv_sec * kNanosecondsASecond + status.st_mtim.tv_nsec;
}

Failure Unreadable(const std::string& name, int error) {
  return {KAVEPUB_E_INPUT, name + ": " + std::generic_category().message(error)};
}

}  // namespace

Result<Input> Input::Open(const std::string& path) {
  errno = 0;
  UniqueFd opened = OpenRegularFile(path.c_str());
  if (opened) return OfFile(std::move(opened), path);
  if (errno != 0) return Unreadable(path, errno);
  return Failure{KAVEPUB_E_INPUT, path + ": is not a regular file"};
}

Result<Input> Input::OfFile(UniqueFd opened, std::string name) {
  struct stat status {};
  if (fstat(opened.Get(), &status) != 0) return Unreadable(name, errno);
  Input input;
  input.path = name;
  input.name = std::move(name);
  input.file = std::move(opened);
  input.size = static_cast<std::uint64_t>(status.st_size);
  input.changed = TimeOf(status);
  input.identity = {status.st_dev, status.st_ino};
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
  if (path.empty()) {
    if (wanted > 0) std::memcpy(buffer, memory.data() + offset, wanted);
    return wanted;
  }
  const UniqueFd reopened = file ? UniqueFd() : OpenRegularFile(path.c_str(), &identity);
  const int opened = file ? file.Get() : reopened.Get();
  if (opened < 0) return Failure{KAVEPUB_E_INPUT, name + kHasChanged};
  size_t taken = 0;
  while (taken < wanted) {
    const ssize_t count =
        pread(opened, buffer + taken, wanted - taken, static_cast<off_t>(offset + taken));
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return Unreadable(name, errno);
    if (count == 0) break;
    taken += static_cast<size_t>(count);
  }
  struct stat status {};
  if (fstat(opened, &status) != 0) return Unreadable(name, errno);
  if (taken < wanted || static_cast<std::uint64_t>(status.st_size) != size ||
      TimeOf(status) != changed) {
    return Failure{KAVEPUB_E_INPUT, name + kHasChanged};
  }
  return taken;
}

Result<std::string> Input::ReadAll(std::uint64_t most) const {
  if (size > most) {
    return Failure{KAVEPUB_E_LIMIT, name + ": is larger than a file of its kind can be"};
  }
  std::string bytes(static_cast<size_t>(size), '\0');
  const Result<size_t> count = Read(0, bytes.data(), bytes.size());
  if (!count) return count.Why();
  return bytes;
}
