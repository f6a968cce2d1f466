// Puts finished books to their places.
#include "hosts/kavepub/make/book_output.h"

#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

#include "base/read_file.h"
#include "hosts/kavepub/console/failure.h"
#include "hosts/kavepub/console/interruption.h"
#include "hosts/kavepub/make/book_mark.h"

namespace {

constexpr size_t kChunkSize = size_t{1} << 18;
constexpr size_t kEndOfContainer = 2;  // bytes of the packed book that the mark replaces

bool WriteAll(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = write(descriptor, bytes.data(), bytes.size());
    if (written < 0 && errno != EINTR) return false;
    if (written > 0) bytes.remove_prefix(static_cast<size_t>(written));
  }
  return true;
}

}  // namespace

BookOutput::BookOutput(const std::filesystem::path& place) : path(place) {
  if (IsStandardOutput() || output.Open(path.c_str())) return;
  throw Failure(path,
                "cannot be made; check that its directory is writable and no directory or device "
                "has its name",
                Cause::kDisk);
}

void BookOutput::Take(const std::filesystem::path& packed, const Provenance& provenance) {
  std::optional<std::string> end;
  if (!IsStandardOutput()) end = MarkedEnd(OpenRegularFile(packed.c_str()).Get(), provenance);
  std::uintmax_t left = std::filesystem::file_size(packed) - (end ? kEndOfContainer : 0);
  std::ifstream book(packed, std::ios::binary);
  std::string chunk;
  while (left > 0) {
    StopIfInterrupted();
    chunk.resize(std::min<std::uintmax_t>(left, kChunkSize));
    book.read(chunk.data(), static_cast<std::streamsize>(chunk.size()));
    if (!book) throw Failure(packed, "cannot be read back; try again", Cause::kMachine);
    left -= chunk.size();
    if (!Write(chunk)) Fail();
  }
  if (!Write(end.value_or(""))) Fail();
  if (!IsStandardOutput()) Commit();
}

bool BookOutput::Write(std::string_view bytes) {
  if (WriteAll(IsStandardOutput() ? STDOUT_FILENO : output.Fd(), bytes)) return true;
  error = errno;
  return false;
}

void BookOutput::Finish(const Provenance& provenance) {
  if (IsStandardOutput()) return;
  if (const std::optional<std::string> end = MarkedEnd(output.Fd(), provenance)) {
    constexpr auto kBack = static_cast<off_t>(kEndOfContainer);
    if (lseek(output.Fd(), -kBack, SEEK_END) < 0 || !Write(*end)) Fail();
  }
  Commit();
}

void BookOutput::Fail() const {
  if (IsStandardOutput()) {
    throw Failure("standard output", std::generic_category().message(error) +
                                         "; the book that went there is not whole");
  }
  throw Failure(path, "cannot be written; check the room on its disk", Cause::kDisk);
}

bool BookOutput::IsStandardOutput() const {
  return path == kStandardStream;
}

void BookOutput::Commit() {
  if (!output.Commit()) Fail();
}
