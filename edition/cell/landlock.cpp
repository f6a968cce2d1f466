// Landlock: which files a process can open, by a promise to the kernel that it cannot take back.
#include "edition/cell/landlock.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <linux/landlock.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "base/unique_fd.h"

namespace {

// As kernels have them that are younger than the header may be.
constexpr std::uint64_t kTruncate = 1U << 14;   // from version 3 on
constexpr std::uint64_t kUseDevice = 1U << 15;  // from version 5 on
constexpr std::uint64_t kBindTcp = 1U << 0;
constexpr std::uint64_t kConnectTcp = 1U << 1;
constexpr std::uint64_t kAbstractSockets = 1U << 0;
constexpr std::uint64_t kSignals = 1U << 1;
constexpr int kVersionOfRefer = 2;
constexpr int kVersionOfTruncate = 3;
constexpr int kVersionOfDevices = 5;

struct Ruleset {
  std::uint64_t files = 0;
  std::uint64_t net = 0;
  std::uint64_t scopes = 0;
};

constexpr std::uint64_t kReadFile = LANDLOCK_ACCESS_FS_READ_FILE;
constexpr std::uint64_t kRead = kReadFile | LANDLOCK_ACCESS_FS_READ_DIR;
constexpr std::uint64_t kWrite = LANDLOCK_ACCESS_FS_WRITE_FILE | LANDLOCK_ACCESS_FS_REMOVE_DIR |
                                 LANDLOCK_ACCESS_FS_REMOVE_FILE | LANDLOCK_ACCESS_FS_MAKE_DIR |
                                 LANDLOCK_ACCESS_FS_MAKE_REG | LANDLOCK_ACCESS_FS_MAKE_SYM;
constexpr std::uint64_t kNever = LANDLOCK_ACCESS_FS_EXECUTE | LANDLOCK_ACCESS_FS_MAKE_CHAR |
                                 LANDLOCK_ACCESS_FS_MAKE_SOCK | LANDLOCK_ACCESS_FS_MAKE_FIFO |
                                 LANDLOCK_ACCESS_FS_MAKE_BLOCK;

// Where encodings, fonts and libraries lie that are loaded when they are needed.
constexpr const char* kPlacesOfSystem[] = {
    "/usr/lib",
    "/usr/lib64",
    "/lib",
    "/lib64",
    "/usr/share",
    "/usr/local/lib",
    "/usr/local/share",
    "/etc/fonts",
    "/etc/ld.so.cache",
    "/var/cache/fontconfig",
    "/dev/urandom",
    "/sys/devices/system/cpu",
};
constexpr const char* kPlacesAtHome[] = {"/.fonts", "/.local/share/fonts", "/.cache/fontconfig",
                                         "/.config/fontconfig", "/.fontconfig"};

std::uint64_t WriteRights(int version) {
  return kWrite | (version >= kVersionOfTruncate ? kTruncate : 0) |
         (version >= kVersionOfRefer ? std::uint64_t{LANDLOCK_ACCESS_FS_REFER} : 0);
}

Ruleset AllOf(int version) {
  Ruleset all{kRead | WriteRights(version) | kNever};
  if (version >= kVersionOfDevices) all.files |= kUseDevice;
  if (version >= kLandlockOfTcp) all.net = kBindTcp | kConnectTcp;
  if (version >= kLandlockOfSignals) all.scopes = kAbstractSockets | kSignals;
  return all;
}

// What the version does not know must not be in what it is told.
size_t SizeFor(int version) {
  if (version < kLandlockOfTcp) return sizeof(std::uint64_t);
  return version < kLandlockOfSignals ? 2 * sizeof(std::uint64_t) : sizeof(Ruleset);
}

// What is not there needs no right.
bool Allow(const UniqueFd& ruleset, const std::string& path, std::uint64_t rights) {
  const UniqueFd place(open(path.c_str(), O_PATH | O_CLOEXEC));
  struct stat status = {};
  if (!place || fstat(place.Get(), &status) != 0) return true;
  if (!S_ISDIR(status.st_mode)) rights &= kReadFile;
  const landlock_path_beneath_attr rule = {rights, place.Get()};
  return syscall(SYS_landlock_add_rule, ruleset.Get(), LANDLOCK_RULE_PATH_BENEATH, &rule, 0) == 0;
}

// The directory of this library, which may be anywhere: its companions lie there, too.
std::string OwnPlace() {
  Dl_info own{};
  if (dladdr(reinterpret_cast<const void*>(&LandlockVersion), &own) == 0) return {};
  const std::string path = own.dli_fname;
  return path.substr(0, path.rfind('/') + 1);
}

bool AllowPlacesOfSystem(const UniqueFd& ruleset) {
  bool isAllowed = Allow(ruleset, OwnPlace(), kRead);
  for (const char* place : kPlacesOfSystem) isAllowed &= Allow(ruleset, place, kRead);
  const char* home = std::getenv("HOME");
  if (home == nullptr) return isAllowed;
  for (const char* place : kPlacesAtHome) {
    isAllowed &= Allow(ruleset, std::string(home) + place, kRead);
  }
  return isAllowed;
}

}  // namespace

int LandlockVersion() {
  const long version =
      syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
  return version < 0 ? 0 : static_cast<int>(version);
}

bool ConfineFiles(const CellRules& rules, int version) {
  const Ruleset all = AllOf(version);
  const UniqueFd ruleset(
      static_cast<int>(syscall(SYS_landlock_create_ruleset, &all, SizeFor(version), 0)));
  if (!ruleset || !AllowPlacesOfSystem(ruleset)) return false;
  for (const std::string& path : rules.readable) {
    if (!Allow(ruleset, path, kRead)) return false;
  }
  if (!rules.writable.empty() && !Allow(ruleset, rules.writable, kRead | WriteRights(version))) {
    return false;
  }
  return syscall(SYS_landlock_restrict_self, ruleset.Get(), 0) == 0;
}
