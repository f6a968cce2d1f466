// What became of an order.
#ifndef KAVEPUB_OUTCOME_H
#define KAVEPUB_OUTCOME_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "hosts/kavepub/source/edition_job.h"

struct Outcome {
  enum class Status { kDone, kPlanned, kUpToDate, kFailed, kInterrupted };

  Status status = Status::kDone;
  std::string message;         // a remark on a book that was made, the reason of a failure
  Cause cause = Cause::kBook;  // of a failure
  std::vector<BookWarning> warnings = {};  // of a book that was made
  std::optional<BookReport> report = {};   // of one of the reader's edition, made or planned
  std::string source = {};                 // digest of all that goes into the book, once known
  std::uint64_t bytesIn = 0;               // of that
  double seconds = 0;
};

inline const char* NameOf(Outcome::Status status) {
  constexpr const char* kNames[] = {"done", "planned", "up to date", "failed", "interrupted"};
  return kNames[static_cast<size_t>(status)];
}

#endif
