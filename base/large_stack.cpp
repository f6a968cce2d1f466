// Work that needs more of a stack than the threads of hosts may have.
#include "base/large_stack.h"

#include <pthread.h>

#include "base/signals_blocked.h"

namespace {

constexpr size_t kLargeStack = size_t{1} << 20;

void* Do(void* work) {
  (*static_cast<std::function<void()>*>(work))();
  return nullptr;
}

}  // namespace

bool DoOnLargeStack(std::function<void()> work) {
  const SignalsBlocked inherited;
  pthread_attr_t attributes;
  if (pthread_attr_init(&attributes) != 0) return false;
  pthread_t thread{};
  const bool isMade = pthread_attr_setstacksize(&attributes, kLargeStack) == 0 &&
                      pthread_create(&thread, &attributes, Do, &work) == 0;
  pthread_attr_destroy(&attributes);
  return isMade && pthread_join(thread, nullptr) == 0;
}
