// What became of a cell that did not come to its end, in words.
#include "edition/cell/fate.h"

#include <sys/resource.h>
#include <sys/wait.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <string>

namespace {

Failure TookTooLong(const CellRules& rules) {
  return {KAVEPUB_E_LIMIT, "took longer than " + std::to_string(rules.seconds) + " s."};
}

Failure TookTooMuch(const CellRules& rules) {
  return {KAVEPUB_E_LIMIT, "took more than " + std::to_string(rules.memory >> 20) + " MB."};
}

bool IsAtTimeLimit(const CellEnd& end, const CellRules& rules) {
  constexpr std::uint64_t kMicroseconds = 1'000'000;
  return rules.seconds > 0 && end.processorMicroseconds >= rules.seconds * kMicroseconds;
}

// What crashes then has not got over a want of memory: it was given most of what it may have.
bool IsNearMemoryLimit(const CellEnd& end, const CellRules& rules) {
  return rules.memory > 0 && end.mostMemory > rules.memory / 4 * 3;
}

// The limit may be lower than the rules have it, as it is for the host.
Failure WroteTooMuch(const CellRules& rules) {
  rlimit ofHost = {RLIM_INFINITY, RLIM_INFINITY};
  getrlimit(RLIMIT_FSIZE, &ofHost);
  const auto most = std::min<std::uint64_t>(rules.fileSize, ofHost.rlim_cur);
  return {KAVEPUB_E_LIMIT, "wrote more than " + std::to_string(most >> 20) + " MB into a file."};
}

Failure FateBySignal(int signal, const CellEnd& end, const CellRules& rules) {
  switch (signal) {
    case SIGSYS:
      return {KAVEPUB_E_FORBIDDEN, "tried what no book may, and was ended."};
    case SIGXCPU:
      return TookTooLong(rules);
    case SIGXFSZ:
      return WroteTooMuch(rules);
    case SIGKILL:
      if (IsAtTimeLimit(end, rules)) return TookTooLong(rules);
      return {KAVEPUB_E_CELL, "was ended from outside, perhaps as the system ran out of memory."};
    default:
      if (IsNearMemoryLimit(end, rules)) return TookTooMuch(rules);
      const char* name = sigabbrev_np(signal);
      return {KAVEPUB_E_CRASH, std::string("crashed in the parser (SIG") +
                                   (name == nullptr ? std::to_string(signal) : name) + ")."};
  }
}

}  // namespace

Status FateOf(const std::optional<CellEnd>& end, EndedFor reason, const CellRules& rules) {
  switch (reason) {
    case EndedFor::kCancelled:
      return Failure{KAVEPUB_CANCELLED, "was cancelled."};
    case EndedFor::kTime:
      return TookTooLong(rules);
    case EndedFor::kNonsense:
      return Failure{KAVEPUB_E_FORBIDDEN, "told nonsense, and was ended."};
    case EndedFor::kNothing:
      break;
  }
  if (!end) return Failure{KAVEPUB_E_CELL, "has no cell: the process that makes them has gone."};
  if (WIFSIGNALED(end->status)) return FateBySignal(WTERMSIG(end->status), *end, rules);
  if (WEXITSTATUS(end->status) == kNotClosed) {
    return Failure{KAVEPUB_E_CELL, "has no cell: the system does not close it."};
  }
  if (WEXITSTATUS(end->status) == kNoMemory) {
    if (rules.memory > 0) return TookTooMuch(rules);
    return Failure{KAVEPUB_E_MEMORY, "Memory ran out."};
  }
  if (end->status != 0) return Failure{KAVEPUB_E_CRASH, "ended without a word."};
  return Done();
}
