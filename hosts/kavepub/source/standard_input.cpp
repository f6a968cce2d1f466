// Reads the standard input.
#include "hosts/kavepub/source/standard_input.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <system_error>
#include <vector>

#include "hosts/kavepub/console/failure.h"
#include "hosts/kavepub/console/interruption.h"

namespace {

constexpr size_t kChunkSize = size_t{1} << 16;

// A read that waits goes on after a signal; this one does not.
void WaitForInput() {
  pollfd input = {STDIN_FILENO, POLLIN, 0};
  poll(&input, 1, -1);
  StopIfInterrupted();
}

}  // namespace

void SaveStandardInput(const std::filesystem::path& target) {
  std::ofstream file(target, std::ios::binary);
  std::vector<char> chunk(kChunkSize);
  for (;;) {
    WaitForInput();
    const ssize_t count = read(STDIN_FILENO, chunk.data(), chunk.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) throw Failure("standard input", std::generic_category().message(errno));
    if (count == 0) break;
    file.write(chunk.data(), count);
  }
  file.close();
  if (file.fail()) throw Failure(target, "cannot be written; check the room on its disk");
}
