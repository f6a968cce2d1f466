// Suspends and resumes connections.
#include "hosts/serve/http/sleeper.h"

void Sleeper::Look() {
  const std::scoped_lock lock(mutex);
  isCalled = false;
}

bool Sleeper::Sleep() {
  const std::scoped_lock lock(mutex);
  if (isCalled) return false;
  isAsleep = true;
  LoadedMhd().suspendConnection(connection);
  return true;
}

void Sleeper::Call() {
  const std::scoped_lock lock(mutex);
  isCalled = true;
  if (!isAsleep || connection == nullptr) return;
  isAsleep = false;
  LoadedMhd().resumeConnection(connection);
}

void Sleeper::Forget() {
  const std::scoped_lock lock(mutex);
  connection = nullptr;
}
