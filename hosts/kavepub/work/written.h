// The writing of a book to the descriptor that it was given.
#ifndef KAVEPUB_WRITTEN_H
#define KAVEPUB_WRITTEN_H

#include <unistd.h>

#include <cerrno>
#include <string_view>
#include <system_error>

// The book could not be written where it was to go.
class NotWritten : public std::system_error {
 public:
  explicit NotWritten(int error) : std::system_error(error, std::generic_category()) {}
};

// 0, or the error of the system.
inline int WriteAll(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = write(descriptor, bytes.data(), bytes.size());
    if (written < 0 && errno != EINTR) return errno;
    if (written > 0) bytes.remove_prefix(static_cast<size_t>(written));
  }
  return 0;
}

#endif
