// Watches what becomes of lines that are written.
#include "hosts/kavepub/console/standard_output.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>

#include "hosts/kavepub/console/interruption.h"

namespace {

int firstError = 0;

void Note(bool isWritten) {
  if (isWritten || firstError != 0) return;
  firstError = errno;
  if (firstError == EPIPE) Interrupt();
}

}  // namespace

void GuardStandardStreams() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(stream, F_GETFD) >= 0) continue;
    // The lowest free number is this one. It cannot be written to, so the loss is noticed.
    if (open("/dev/null", O_RDONLY) < 0) return;
  }
}

void Say(const std::string& line) {
  SayAsIs(line + "\n");
}

void SayAsIs(const std::string& bytes) {
  const bool isTaken = std::fwrite(bytes.data(), 1, bytes.size(), stdout) == bytes.size();
  Note(isTaken && std::fflush(stdout) == 0);
}

bool AllWasSaid() {
  Note(std::fflush(stdout) == 0);
  if (firstError == 0 && std::ferror(stdout) == 0) return true;
  // A reader that went away, like "head", has what it wanted.
  if (firstError == EPIPE) return false;
  const int error = firstError == 0 ? EIO : firstError;
  std::fprintf(stderr,
               "kavepub: standard output: %s; what was to be said is lost, send it to a file or "
               "use --quiet\n",
               std::generic_category().message(error).c_str());
  return false;
}
