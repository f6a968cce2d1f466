// Preloaded into the tool, lets a call fail in each of its cells, by KAV_FAULT: "malloc 120".
#include <pthread.h>

#include <cstdio>
#include <cstdlib>

#include "interposed.h"

namespace {

constexpr int kGenerationOfCells = 3;  // behind the host, the guard and the zygote

int generation = 0;
char wantedCall[16];

void BeginGeneration() {
  if (++generation == kGenerationOfCells) faults.armed = true;
}

__attribute__((constructor)) void Prepare() {
  const char* wanted = std::getenv("KAV_FAULT");
  if (wanted == nullptr || std::sscanf(wanted, "%15s %ld", wantedCall, &faults.failing) != 2)
    return;
  faults.call = wantedCall;
  faults.room = -1;
  pthread_atfork(nullptr, nullptr, BeginGeneration);
}

}  // namespace
