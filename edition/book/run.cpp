// Passes progress on, as often as a person can see.
#include "edition/book/run.h"

#include <algorithm>

namespace {
constexpr double kSmallestStep = 0.005;
}

void Run::Begin() {
  shown = -1;
  facts.clear();
  warnings.clear();
}

Status Run::Advance(double done) {
  done = std::clamp(done, 0.0, 1.0);
  const bool isSeen = done >= shown + kSmallestStep || (done == 1.0 && shown < 1.0);
  if (isSeen) {
    shown = done;
    if (progress && progress(done)) Cancel();
  }
  if (IsCancelled()) return Failure{KAVEPUB_CANCELLED, "The job was cancelled."};
  return Done();
}
