// Puts finished books to their places.
#include "hosts/kavepub/make/book_output.h"

#include <unistd.h>

#include <cerrno>
#include <optional>
#include <string>
#include <system_error>

#include "hosts/kavepub/console/failure.h"
#include "hosts/kavepub/make/book_mark.h"
#include "hosts/kavepub/work/written.h"

namespace {

constexpr size_t kEndOfContainer = 2;  // bytes of the packed book that the mark replaces

}  // namespace

BookOutput::BookOutput(const std::filesystem::path& place) : path(place) {
  if (IsStandardOutput() || output.Open(path.c_str())) return;
  throw Failure(path,
                "cannot be made; check that its directory is writable and no directory or device "
                "has its name",
                Cause::kDisk);
}

int BookOutput::Descriptor() const {
  return IsStandardOutput() ? STDOUT_FILENO : output.Fd();
}

void BookOutput::Finish(const Provenance& provenance) {
  if (IsStandardOutput()) return;
  if (const std::optional<std::string> end = MarkedEnd(output.Fd(), provenance)) {
    constexpr auto kBack = static_cast<off_t>(kEndOfContainer);
    if (lseek(output.Fd(), -kBack, SEEK_END) < 0) Fail(errno);
    if (const int error = WriteAll(output.Fd(), *end); error != 0) Fail(error);
  }
  Commit();
}

void BookOutput::Fail(int error) const {
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
  if (!output.Commit()) Fail(errno);
}
