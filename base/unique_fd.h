// An owned file descriptor.
#ifndef KAV_BASE_UNIQUE_FD_H
#define KAV_BASE_UNIQUE_FD_H

#include <unistd.h>

#include <utility>

class UniqueFd {
 public:
  UniqueFd() = default;
  explicit UniqueFd(int descriptor) : fd(descriptor) {}
  UniqueFd(UniqueFd&& other) noexcept : fd(std::exchange(other.fd, -1)) {}
  UniqueFd& operator=(UniqueFd&& other) noexcept {
    std::swap(fd, other.fd);
    return *this;
  }
  UniqueFd(const UniqueFd&) = delete;
  UniqueFd& operator=(const UniqueFd&) = delete;
  ~UniqueFd() {
    if (fd >= 0) close(fd);
  }

  int Get() const { return fd; }

  // Hands the descriptor to the caller.
  int Release() { return std::exchange(fd, -1); }

  explicit operator bool() const { return fd >= 0; }

 private:
  int fd = -1;
};

#endif
