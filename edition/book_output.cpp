// Writing to the places that hosts choose.
#include "edition/book_output.h"

#include <unistd.h>

#include <cerrno>
#include <system_error>

Status FileOutput::Open() {
  errno = 0;
  if (!file.Open(path.c_str())) return Unwritable(errno);
  return Done();
}

Status FileOutput::Write(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = write(file.Fd(), bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return Unwritable(errno);
    bytes.remove_prefix(static_cast<size_t>(written));
  }
  return Done();
}

Status FileOutput::Commit() {
  errno = 0;
  if (!file.Commit()) return Unwritable(errno);
  return Done();
}

Failure FileOutput::Unwritable(int error) const {
  const std::string reason =
      error == 0 ? "something else than a file is there" : std::generic_category().message(error);
  return {KAVEPUB_E_OUTPUT, path + ": the book cannot be written: " + reason + "."};
}

Status CallbackOutput::Write(std::string_view bytes) {
  if (write(user, bytes.data(), bytes.size()) == 0) return Done();
  return Failure{KAVEPUB_E_OUTPUT, "The host has not taken all of the book."};
}
