// What of the system keeps cells closed, and how much of that it has.
#include "edition/cell/defences.h"

#include <sys/prctl.h>

#include <iterator>

#include "edition/cell/landlock.h"
#include "edition/cell/limits.h"
#include "edition/cell/syscall_filter.h"

namespace {

bool HasLandlock() {
  return LandlockVersion() > 0;
}

bool HasLandlockOfTcp() {
  return LandlockVersion() >= kLandlockOfTcp;
}

bool HasLandlockOfSignals() {
  return LandlockVersion() >= kLandlockOfSignals;
}

bool HasAlways() {
  return true;
}

struct Defence {
  const char* name;
  const char* purpose;
  bool (*isThere)();
  bool isNeeded;
};

// Those that are not needed guard what a needed one guards, too.
constexpr Defence kDefences[] = {
    {"Landlock", "no files but the input, the system's libraries and fonts, and the new book",
     HasLandlock, true},
    {"seccomp", "no programs, processes, sockets, signals, nor calls that making books needs not",
     HasSyscallFilters, true},
    {"Landlock for TCP", "no connections, even if the filter of calls failed", HasLandlockOfTcp,
     false},
    {"Landlock for signals", "no signals, even if the filter of calls failed", HasLandlockOfSignals,
     false},
    {"limits", "on memory, processor time, and the size of files", HasAlways, true},
    {"no new privileges", "no rights from programs or files, and nobody may look into a cell",
     HasAlways, true},
};

}  // namespace

Defences::Defences() : landlock(LandlockVersion()) {
  if (!HasSyscallFilters()) return;
  filterOfReaders = MakeSyscallFilter(false);
  filterOfWriters = MakeSyscallFilter(true);
}

bool Defences::AreWhole() const {
  return landlock > 0 && !filterOfReaders.empty() && !filterOfWriters.empty();
}

bool Defences::Close(const CellRules& rules) const {
  const bool isPrivate = prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
                         prctl(PR_SET_DUMPABLE, 0, 0, 0, 0) == 0 && LimitProcess(rules);
  if (!isPrivate) return false;
  if (landlock > 0 && !ConfineFiles(rules, landlock)) return false;
  const auto& filter = rules.writable.empty() ? filterOfReaders : filterOfWriters;
  return filter.empty() || FilterSyscalls(filter);
}

const kavepub_defence* DefenceAt(size_t index) {
  static const auto seen = [] {
    std::vector<kavepub_defence> found;
    for (const Defence& defence : kDefences) {
      found.push_back(
          {defence.name, defence.purpose, defence.isThere() ? 1 : 0, defence.isNeeded ? 1 : 0});
    }
    return found;
  }();
  return index < seen.size() ? &seen[index] : nullptr;
}
