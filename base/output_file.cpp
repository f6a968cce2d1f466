// Writing to a file descriptor in large pieces, with interrupted and partial writes continued.
#include "base/output_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace {

constexpr mode_t kCreationMode = 0666;               // less the umask
constexpr size_t kGatheredSize = size_t{32} * 1024;  // more than a page of text

int OpenForWriting(const std::string& path, OutputFile::Mode mode) {
  const int disposition = mode == OutputFile::Mode::kAppend ? O_APPEND : O_TRUNC;
  int descriptor = -1;
  do {
    descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | disposition, kCreationMode);
  } while (descriptor < 0 && errno == EINTR);
  return descriptor;
}

}  // namespace

OutputFile::OutputFile(const std::string& path, Mode mode)
    : gathered(std::make_unique_for_overwrite<char[]>(kGatheredSize)),
      descriptor(OpenForWriting(path, mode)) {}

bool OutputFile::Write(std::string_view bytes) {
  if (bytes.size() > kGatheredSize - gatheredCount) WriteGathered();
  if (bytes.size() > kGatheredSize) {
    WriteThrough(bytes);
  } else {
    gatheredCount += bytes.copy(gathered.get() + gatheredCount, bytes.size());
  }
  return !failed;
}

void OutputFile::WriteGathered() {
  WriteThrough({gathered.get(), gatheredCount});
  gatheredCount = 0;
}

void OutputFile::WriteThrough(std::string_view bytes) {
  while (!failed && !bytes.empty()) {
    const ssize_t written = write(descriptor.Get(), bytes.data(), bytes.size());
    if (written > 0) {
      bytes.remove_prefix(static_cast<size_t>(written));
    } else if (errno != EINTR) {
      failed = true;
    }
  }
}

bool OutputFile::Close() {
  if (!IsOpen()) return false;
  WriteGathered();
  // A close that is interrupted has closed the descriptor all the same (Linux).
  const bool closed = close(descriptor.Release()) == 0 || errno == EINTR;
  return closed && !failed;
}
