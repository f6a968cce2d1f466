// Limits on what a process takes, set by itself and for good.
#include "edition/cell/limits.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <string_view>

#include "base/unique_fd.h"

namespace {

constexpr rlim_t kOpenFiles = 256;
constexpr rlim_t kGraceSeconds = 1;  // between the signal that ends it and the one that cannot fail

// Sanitizers set aside terabytes, which count as taken.
#if defined(KAV_SANITIZED)
constexpr bool kCanLimitMemory = false;
#else
constexpr bool kCanLimitMemory = true;
#endif

bool Limit(decltype(RLIMIT_CPU) resource, rlim_t most, rlim_t mostOfAll) {
  rlimit limit = {};
  if (getrlimit(resource, &limit) != 0) return false;
  limit.rlim_max = std::min(limit.rlim_max, mostOfAll);
  limit.rlim_cur = std::min({limit.rlim_cur, limit.rlim_max, most});
  return setrlimit(resource, &limit) == 0;
}

// What is written to counts; what threads and libraries merely reserve does not, up to a bound that
// holds for memory which is shared, too.
bool LimitMemory(std::uint64_t bytes) {
  constexpr std::uint64_t kReserved = std::uint64_t{4} << 30;
  if (bytes == 0 || !kCanLimitMemory) return true;
  return Limit(RLIMIT_DATA, bytes, bytes) && Limit(RLIMIT_AS, bytes + kReserved, bytes + kReserved);
}

}  // namespace

bool LimitProcess(const CellRules& rules) {
  bool isLimited = Limit(RLIMIT_CORE, 0, 0) && Limit(RLIMIT_NOFILE, kOpenFiles, kOpenFiles) &&
                   LimitMemory(rules.memory);
  if (rules.seconds > 0) {
    isLimited &= Limit(RLIMIT_CPU, rules.seconds, rules.seconds + kGraceSeconds);
  }
  if (rules.fileSize > 0) isLimited &= Limit(RLIMIT_FSIZE, rules.fileSize, rules.fileSize);
  return isLimited;
}

void OfferForMemory() {
  constexpr std::string_view kFirst = "1000";
  const UniqueFd score(open("/proc/self/oom_score_adj", O_WRONLY | O_CLOEXEC));
  if (score) static_cast<void>(write(score.Get(), kFirst.data(), kFirst.size()) + 1);
}
