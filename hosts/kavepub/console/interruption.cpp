// Turns signals into a flag.
#include "hosts/kavepub/console/interruption.h"

#include <atomic>
#include <csignal>

#include "hosts/kavepub/console/failure.h"

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
  action.sa_flags = SA_RESTART;
  for (const int signal : {SIGINT, SIGTERM}) sigaction(signal, &action, nullptr);
  // nohup lets a call outlive its terminal by having this one ignored.
  struct sigaction before = {};
  sigaction(SIGHUP, nullptr, &before);
  if (before.sa_handler != SIG_IGN) sigaction(SIGHUP, &action, nullptr);
  action.sa_handler = SIG_IGN;
  sigaction(SIGPIPE, &action, nullptr);
}

void Interrupt() {
  isInterrupted = true;
}

bool WasInterrupted() {
  return isInterrupted;
}

void StopIfInterrupted() {
  if (isInterrupted) throw Interrupted();
}
