// The calls that a cell may make of the system, as a seccomp filter.
#include "edition/cell/syscall_filter.h"

#include <fcntl.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <memory>

#include "base/unique_fd.h"

namespace {

// Those of memory, threads, clocks, open files and the look of trees.
constexpr const char* kHarmless[] = {
    "access",
    "arch_prctl",
    "brk",
    "clock_getres",
    "clock_gettime",
    "clock_nanosleep",
    "close",
    "close_range",
    "dup",
    "dup2",
    "dup3",
    "exit",
    "exit_group",
    "faccessat",
    "faccessat2",
    "fadvise64",
    "fadvise64_64",
    "fdatasync",
    "flock",
    "fstat",
    "fstat64",
    "fstatat64",
    "fstatfs",
    "fstatfs64",
    "fsync",
    "ftruncate",
    "ftruncate64",
    "futex",
    "futex_time64",
    "get_robust_list",
    "getcwd",
    "getdents",
    "getdents64",
    "getegid",
    "geteuid",
    "getgid",
    "getpid",
    "getppid",
    "getrandom",
    "getrlimit",
    "getrusage",
    "gettid",
    "gettimeofday",
    "getuid",
    "lseek",
    "_llseek",
    "lstat",
    "lstat64",
    "madvise",
    "membarrier",
    "mprotect",
    "mremap",
    "munmap",
    "nanosleep",
    "newfstatat",
    "poll",
    "ppoll",
    "pread64",
    "preadv",
    "pwrite64",
    "pwritev",
    "read",
    "readahead",
    "readlink",
    "readlinkat",
    "readv",
    "restart_syscall",
    "rseq",
    "rt_sigaction",
    "rt_sigpending",
    "rt_sigprocmask",
    "rt_sigreturn",
    "rt_sigsuspend",
    "sched_getaffinity",
    "sched_yield",
    "set_robust_list",
    "set_tid_address",
    "sigaltstack",
    "stat",
    "stat64",
    "statfs",
    "statfs64",
    "statx",
    "sysinfo",
    "time",
    "times",
    "umask",
    "uname",
    "write",
    "writev",
};

// Those that change a tree, which is then one of the cell's own.
constexpr const char* kOfWriters[] = {
    "chmod",    "creat",   "fchmod",    "fchmodat", "futimesat",  "link",
    "linkat",   "mkdir",   "mkdirat",   "rename",   "renameat",   "renameat2",
    "rmdir",    "symlink", "symlinkat", "truncate", "truncate64", "unlink",
    "unlinkat", "utime",   "utimensat", "utimes",
};

// Of these no library makes one on the way to a book.
constexpr const char* kOfIntruders[] = {
    "accept",
    "accept4",
    "acct",
    "add_key",
    "bind",
    "bpf",
    "chroot",
    "connect",
    "delete_module",
    "execve",
    "execveat",
    "fanotify_init",
    "finit_module",
    "fork",
    "fsconfig",
    "fsmount",
    "fsopen",
    "fspick",
    "init_module",
    "io_setup",
    "io_uring_enter",
    "io_uring_register",
    "io_uring_setup",
    "ioperm",
    "iopl",
    "kcmp",
    "kexec_file_load",
    "kexec_load",
    "keyctl",
    "kill",
    "listen",
    "memfd_create",
    "memfd_secret",
    "mknod",
    "mknodat",
    "modify_ldt",
    "mount",
    "mount_setattr",
    "move_mount",
    "mq_open",
    "msgget",
    "name_to_handle_at",
    "open_by_handle_at",
    "open_tree",
    "perf_event_open",
    "personality",
    "pidfd_getfd",
    "pidfd_open",
    "pidfd_send_signal",
    "pivot_root",
    "process_madvise",
    "process_vm_readv",
    "process_vm_writev",
    "ptrace",
    "quotactl",
    "reboot",
    "recvfrom",
    "recvmmsg",
    "recvmsg",
    "request_key",
    "rt_sigqueueinfo",
    "rt_tgsigqueueinfo",
    "semget",
    "sendmmsg",
    "sendmsg",
    "sendto",
    "setdomainname",
    "setgid",
    "setgroups",
    "sethostname",
    "setns",
    "setpgid",
    "setregid",
    "setresgid",
    "setresuid",
    "setreuid",
    "setsid",
    "setuid",
    "shmat",
    "shmget",
    "socket",
    "socketpair",
    "swapoff",
    "swapon",
    "syslog",
    "umount2",
    "unshare",
    "userfaultfd",
    "vfork",
};

constexpr std::uint64_t kAllBits = ~std::uint64_t{0};

struct Release {
  void operator()(void* owned) const { seccomp_release(owned); }
};
using Filter = std::unique_ptr<void, Release>;

// Names that this machine or libseccomp does not have need no rule.
void AddAll(const Filter& filter, std::uint32_t action, const auto& names) {
  for (const char* name : names) {
    const int number = seccomp_syscall_resolve_name(name);
    if (number != __NR_SCMP_ERROR) seccomp_rule_add(filter.get(), action, number, 0);
  }
}

// A rule for calls whose argument has certain values in certain bits.
bool Add(const Filter& filter, std::uint32_t action, int call, unsigned argument,
         std::uint64_t bits, std::uint64_t values) {
  const scmp_arg_cmp comparison = {argument, SCMP_CMP_MASKED_EQ, bits, values};
  return seccomp_rule_add_array(filter.get(), action, call, 1, &comparison) == 0;
}

// Threads, but no processes. Of the new form, whose flags a filter cannot see, nothing is known, so
// that callers take the old one.
bool AddThreads(const Filter& filter) {
  return Add(filter, SCMP_ACT_ALLOW, SCMP_SYS(clone), 0, CLONE_THREAD, CLONE_THREAD) &&
         Add(filter, SCMP_ACT_KILL_PROCESS, SCMP_SYS(clone), 0, CLONE_THREAD, 0);
}

// Memory that is shared and no file's counts for no limit.
bool AddMemory(const Filter& filter) {
  constexpr std::uint64_t kBits = MAP_SHARED | MAP_ANONYMOUS;
  bool isAdded = true;
  for (const unsigned kind : {0U, unsigned{MAP_SHARED}, unsigned{MAP_ANONYMOUS}}) {
    for (const int call : {SCMP_SYS(mmap), SCMP_SYS(mmap2)}) {
      isAdded &= Add(filter, SCMP_ACT_ALLOW, call, 3, kBits, kind);
    }
  }
  return isAdded;
}

// It can read its limits and name its threads, and do with its open files what sends no signals.
bool AddOwnAffairs(const Filter& filter) {
  constexpr int kOfFiles[] = {F_DUPFD, F_DUPFD_CLOEXEC, F_GETFD, F_SETFD, F_GETFL,
                              F_SETFL, F_GETLK,         F_SETLK, F_SETLKW};
  bool isAdded = Add(filter, SCMP_ACT_ALLOW, SCMP_SYS(prlimit64), 2, kAllBits, 0) &&
                 Add(filter, SCMP_ACT_ALLOW, SCMP_SYS(prctl), 0, kAllBits, PR_SET_NAME);
  for (const int operation : kOfFiles) {
    for (const int call : {SCMP_SYS(fcntl), SCMP_SYS(fcntl64)}) {
      isAdded &= Add(filter, SCMP_ACT_ALLOW, call, 1, kAllBits, static_cast<unsigned>(operation));
    }
  }
  return isAdded;
}

bool AddFiles(const Filter& filter, bool writesFiles) {
  if (writesFiles) {
    AddAll(filter, SCMP_ACT_ALLOW, kOfWriters);
    const char* const opening[] = {"open", "openat"};
    AddAll(filter, SCMP_ACT_ALLOW, opening);
    return true;
  }
  constexpr std::uint64_t kWriting = O_ACCMODE | O_CREAT | O_TRUNC;
  AddAll(filter, SCMP_ACT_ERRNO(EACCES), kOfWriters);
  for (const auto& [call, argument] : {std::pair{SCMP_SYS(open), 1U}, {SCMP_SYS(openat), 2U}}) {
    Add(filter, SCMP_ACT_ALLOW, call, argument, kWriting, O_RDONLY);
    for (const unsigned bit :
         {unsigned{O_WRONLY}, unsigned{O_RDWR}, unsigned{O_CREAT}, unsigned{O_TRUNC}}) {
      Add(filter, SCMP_ACT_ERRNO(EACCES), call, argument, bit, bit);
    }
  }
  return true;
}

std::vector<sock_filter> Compiled(const Filter& filter) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return {};
  const UniqueFd from(ends[0]);
  UniqueFd to(ends[1]);
  constexpr size_t kMost = 4096;  // instructions, of which the kernel takes no more; a pipe does
  std::vector<sock_filter> program(kMost);
  if (seccomp_export_bpf(filter.get(), to.Get()) != 0) return {};
  to = UniqueFd();
  const ssize_t size = read(from.Get(), program.data(), program.size() * sizeof(sock_filter));
  program.resize(size < 0 ? 0 : static_cast<size_t>(size) / sizeof(sock_filter));
  return program;
}

}  // namespace

bool HasSyscallFilters() {
  const std::uint32_t action = SECCOMP_RET_KILL_PROCESS;
  return syscall(SYS_seccomp, SECCOMP_GET_ACTION_AVAIL, 0, &action) == 0;
}

std::vector<sock_filter> MakeSyscallFilter(bool writesFiles) {
  const Filter filter(seccomp_init(SCMP_ACT_ERRNO(ENOSYS)));
  if (!filter) return {};
  AddAll(filter, SCMP_ACT_ALLOW, kHarmless);
  AddAll(filter, SCMP_ACT_KILL_PROCESS, kOfIntruders);
  const bool isMade = AddThreads(filter) && AddMemory(filter) && AddOwnAffairs(filter) &&
                      AddFiles(filter, writesFiles);
  return isMade ? Compiled(filter) : std::vector<sock_filter>();
}

bool FilterSyscalls(const std::vector<sock_filter>& filter) {
  const sock_fprog program = {static_cast<unsigned short>(filter.size()),
                              const_cast<sock_filter*>(filter.data())};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, 0, &program) == 0;
}
