// What an intruder may try, each with what must come of it in a cell.
#ifndef KAV_EPUB_TESTS_MISDEEDS_H
#define KAV_EPUB_TESTS_MISDEEDS_H

#include <dirent.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

inline constexpr char kRefused[] = "refused";
inline constexpr char kSucceeded[] = "succeeded";
inline constexpr char kForbidden[] = "tried what no book may, and was ended.";

// What is no cell's business, and what is.
struct World {
  std::string secret;     // a file
  std::string link;       // to it, beside the input
  std::string input;      // a file
  std::string elsewhere;  // a file that is not there
};
inline World world;

inline bool IsOpen(int descriptor) {
  return descriptor >= 0;
}

inline bool Starts(long process) {
  if (process == 0) _exit(0);
  return process > 0;
}

inline long Call(long number, long first = 0, long second = 0, long third = 0) {
  return syscall(number, first, second, third, 0, 0, 0);
}

// The channel and the output of a cell have no names.
inline int DescriptorOf(mode_t type) {
  for (int descriptor = 3; descriptor < 64; ++descriptor) {
    struct stat status {};
    if (fstat(descriptor, &status) == 0 && (status.st_mode & S_IFMT) == type) return descriptor;
  }
  return -1;
}

inline bool Connects() {
  const sockaddr nowhere = {AF_UNSPEC, {}};
  return connect(DescriptorOf(S_IFSOCK), &nowhere, sizeof nowhere) == 0;
}

inline bool ReadsMemoryOfHost() {
  char buffer[sizeof(World)];
  const iovec local = {buffer, sizeof buffer};
  const iovec remote = {&world, sizeof buffer};
  return process_vm_readv(getppid(), &local, 1, &remote, 1, 0) > 0;
}

inline bool WritesTooMuch(int file) {
  const std::string block(1 << 20, 'x');
  for (int i = 0; i < 64; ++i) {
    if (write(file, block.data(), block.size()) != static_cast<ssize_t>(block.size())) return false;
  }
  return true;
}

inline bool TakesAllMemory(int flags) {
  constexpr size_t kPiece = size_t{16} << 20;
  for (size_t taken = 0; taken < size_t{6} << 30; taken += kPiece) {
    void* piece = mmap(nullptr, kPiece, PROT_READ | PROT_WRITE, flags | MAP_ANONYMOUS, -1, 0);
    if (piece == MAP_FAILED) return false;
    if (taken < kPiece) std::memset(piece, 1, kPiece);
  }
  return true;
}

inline bool Tells(std::string_view bytes) {
  return write(DescriptorOf(S_IFSOCK), bytes.data(), bytes.size()) > 0 && pause() == 0;
}

inline volatile int* noPlace = nullptr;

// What a misdeed comes to: an answer, if the cell gives one, or the words for its end.
inline const struct Misdeed {
  const char* name;
  bool (*attempt)();
  const char* fate;
} kMisdeeds[] = {
    {"reads a private file", [] { return IsOpen(open(world.secret.c_str(), O_RDONLY)); }, kRefused},
    {"reads the system's passwords", [] { return IsOpen(open("/etc/passwd", O_RDONLY)); },
     kRefused},
    {"lists a directory", [] { return opendir("/") != nullptr; }, kRefused},
    {"lists its own processes", [] { return opendir("/proc/self") != nullptr; }, kRefused},
    {"goes out by a link", [] { return IsOpen(open(world.link.c_str(), O_RDONLY)); }, kRefused},
    {"changes its input", [] { return IsOpen(open(world.input.c_str(), O_WRONLY)); }, kRefused},
    {"deletes its input", [] { return unlink(world.input.c_str()) == 0; }, kRefused},
    {"writes elsewhere",
     [] { return IsOpen(open(world.elsewhere.c_str(), O_WRONLY | O_CREAT, 0600)); }, kRefused},
    {"opens a socket", [] { return IsOpen(socket(AF_UNIX, SOCK_STREAM, 0)); }, kForbidden},
    {"connects", [] { return Connects(); }, kForbidden},
    {"starts a program", [] { return execl("/bin/true", "true", nullptr) == 0; }, kForbidden},
    {"starts a process", [] { return Starts(fork()); }, kForbidden},
    {"starts processes without end",
     [] {
       while (Starts(Call(SYS_clone, SIGCHLD))) continue;
       return false;
     },
     kForbidden},
    {"starts a process in the new way",
     [] {
       std::uint64_t arguments[11] = {};
       return Starts(Call(SYS_clone3, reinterpret_cast<long>(arguments), sizeof arguments));
     },
     kRefused},
    {"sends a signal", [] { return kill(getppid(), 0) == 0; }, kForbidden},
    {"signals a thread", [] { return Call(SYS_tgkill, getppid(), getppid()) == 0; }, kRefused},
    {"reads the memory of another", [] { return ReadsMemoryOfHost(); }, kForbidden},
    {"traces another", [] { return ptrace(PTRACE_ATTACH, getppid(), 0, 0) == 0; }, kForbidden},
    {"mounts", [] { return mount("none", "/tmp", "tmpfs", 0, nullptr) == 0; }, kForbidden},
    {"makes a namespace", [] { return Call(SYS_unshare, 1 << 28) == 0; }, kForbidden},
    {"takes keys", [] { return Call(SYS_keyctl, 0, -3, 0) > 0; }, kForbidden},
    {"uses io_uring", [] { return Call(SYS_io_uring_setup, 1) >= 0; }, kForbidden},
    {"uses bpf", [] { return Call(SYS_bpf) >= 0; }, kForbidden},
    {"survives its host", [] { return prctl(PR_SET_PDEATHSIG, 0) == 0; }, kRefused},
    {"raises its limits",
     [] {
       const rlimit none = {RLIM_INFINITY, RLIM_INFINITY};
       return setrlimit(RLIMIT_DATA, &none) == 0;
     },
     kRefused},
    {"crashes", [] { return *noPlace == 0; }, "crashed in the parser (SIGSEGV)."},
    {"aborts", []() -> bool { abort(); }, "crashed in the parser (SIGSEGV)."},
    {"throws", []() -> bool { throw 1; }, "crashed in the parser (SIGSEGV)."},
    {"ends without a word", []() -> bool { _exit(0); }, "ended without an answer."},
    {"runs forever",
     [] {
       std::signal(SIGXCPU, SIG_IGN);
       for (;;) *const_cast<volatile char*>(world.secret.data()) = 0;
       return false;
     },
     "took longer than 1 s."},
    {"sleeps forever",
     [] {
       for (;;) sleep(1);
       return false;
     },
     "took longer than 1 s."},
    {"fills the disk", [] { return WritesTooMuch(DescriptorOf(S_IFREG)); },
     "wrote more than 8 MB into a file."},
    {"writes nonsense", [] { return Tells("nonsense, and more of it"); },
     "told nonsense, and was ended."},
    {"claims a large answer",
     [] {
       return Tells({"\3\0\0\0\xFF\xFF\xFF\xFF", 8});
     },
     "told nonsense, and was ended."},
    {"floods its host",
     [] {
       const char progress[16] = {2, 0, 0, 0, 8};
       while (write(DescriptorOf(S_IFSOCK), progress, sizeof progress) > 0) continue;
       return false;
     },
     "told nonsense, and was ended."},
    {"closes the channel",
     []() -> bool {
       Call(SYS_close_range, 3, 1024);
       _exit(0);
     },
     "ended without an answer."},
#if !defined(KAV_SANITIZED)
    {"takes all memory", [] { return TakesAllMemory(MAP_PRIVATE); }, kRefused},
#endif
    {"takes memory that is shared", [] { return TakesAllMemory(MAP_SHARED); }, kRefused},
};

#endif
