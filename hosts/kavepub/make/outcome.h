// What became of an order.
#ifndef KAVEPUB_OUTCOME_H
#define KAVEPUB_OUTCOME_H

#include <string>
#include <vector>

struct Outcome {
  enum class Status { kDone, kPlanned, kUpToDate, kFailed, kInterrupted };

  Status status = Status::kDone;
  std::string message;  // a remark on a book that was made, the reason of a failure
  std::vector<std::string> warnings = {};  // of a book that was made: each names its file
  double seconds = 0;
};

inline const char* NameOf(Outcome::Status status) {
  constexpr const char* kNames[] = {"done", "planned", "up to date", "failed", "interrupted"};
  return kNames[static_cast<size_t>(status)];
}

#endif
