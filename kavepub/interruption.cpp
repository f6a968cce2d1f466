// Turns signals into a flag.
#include "kavepub/interruption.h"

#include <atomic>
#include <csignal>

#include "kavepub/failure.h"

namespace {

std::atomic<bool> isInterrupted = false;
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler may only set such a flag");

extern "C" void OnInterruption(int /*signal*/) {
  isInterrupted = true;
}

}  // namespace

void CatchInterruptions() {
  struct sigaction action = {};
  action.sa_handler = OnInterruption;
  action.sa_flags = static_cast<int>(SA_RESTART | SA_RESETHAND);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaction(signal, &action, nullptr);
}

bool WasInterrupted() {
  return isInterrupted;
}

void StopIfInterrupted() {
  if (isInterrupted) throw Interrupted();
}
