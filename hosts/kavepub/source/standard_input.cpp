// Reads the standard input.
#include "hosts/kavepub/source/standard_input.h"

#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <memory>
#include <system_error>

#include "hosts/kavepub/console/failure.h"
#include "hosts/kavepub/console/interruption.h"

namespace {

constexpr size_t kChunkSize = size_t{1} << 16;
constexpr size_t kMost = size_t{256} << 20;  // far more than any text, far less than the memory
constexpr size_t kLarge = size_t{8} << 20;

}  // namespace

// A read that waits goes on after a signal; this one does not. A signal that comes between the look
// at the flag and the waiting must end that, too, so it comes through while we wait and not before.
void WaitForStandardInput() {
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  pollfd input = {STDIN_FILENO, POLLIN, 0};
  if (!WasInterrupted()) ppoll(&input, 1, nullptr, &before);
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  StopIfInterrupted();
}

std::string ReadStandardInput() {
  std::string content;
  const auto chunk = std::make_unique<std::array<char, kChunkSize>>();
  for (;;) {
    WaitForStandardInput();
    const ssize_t count = read(STDIN_FILENO, chunk->data(), chunk->size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) throw Failure(kStandardInput, std::generic_category().message(errno));
    if (count == 0) return content;
    // A large text is not copied as it grows; what it does not fill costs nothing.
    if (content.size() > kLarge) content.reserve(kMost + kChunkSize);
    content.append(chunk->data(), static_cast<size_t>(count));
    if (content.size() > kMost) {
      throw Failure(kStandardInput,
                    "holds more than 256 MiB, the most that is kept in memory; save it to a file "
                    "and convert that");
    }
  }
}
