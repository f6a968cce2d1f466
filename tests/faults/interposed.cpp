// The calls themselves: each fails when its turn has come, and else does what it always does.
#include "interposed.h"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <libxml/HTMLparser.h>
#include <mobi.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

Faults faults = {};
const char* const kFaults[] = {"malloc",   "memory",    "open",     "write",       "close",
                               "fsync",    "rename",    "mkdir",    "opendir",     "readdir",
                               "read",     "fopen",     "fwrite",   "fread",       "fclose",
                               "realpath", "disk-work", "disk-out", "descriptors", "kill"};

namespace {

// Whether this call is the one to fail.
bool Fails(const char* call, int error) {
  if (!faults.armed || faults.failing == 0 || strcmp(faults.call, call) != 0) return false;
  ++faults.calls;
  const bool fails =
      faults.persists ? faults.calls >= faults.failing : faults.calls == faults.failing;
  if (!fails) return false;
  if (faults.patience > 0 && faults.hit == nullptr && faults.inside != nullptr) {
    faults.hit = faults.inside;
    const itimerval patience{{}, {0, faults.patience}};  // it may never come back
    setitimer(ITIMER_PROF, &patience, nullptr);
  }
  errno = error;
  return true;
}

// Whether the disk is full before these bytes, as far as the file lies on it.
bool IsFull(int descriptor, size_t& count) {
  if (!faults.armed || faults.room < 0) return false;
  char link[64];
  char path[4096];
  snprintf(link, sizeof link, "/proc/self/fd/%d", descriptor);
  const ssize_t length = readlink(link, path, sizeof path);
  if (length < 0 || strncmp(path, faults.fullBelow, strlen(faults.fullBelow)) != 0) return false;
  if (faults.room == 0) return errno = ENOSPC, true;
  if (count > static_cast<size_t>(faults.room)) count = static_cast<size_t>(faults.room);
  faults.room -= static_cast<long long>(count);
  return false;
}

template <typename Function>
Function* Real(const char* name, Function* /*itself*/) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

void* Counted(void* block) {
  if (faults.armed && block != nullptr) ++faults.blocks;
  return block;
}

}  // namespace

// The real function, looked up once. Those of the sanitizer for memory are needed before anything
// can be looked up.
#define KAV_REAL(name) static auto* const real = Real(#name, &name)
#ifdef KAV_ADDRESS_SANITIZER
#define KAV_REAL_MEMORY(name) auto* const real = __interceptor_##name
#else
#define KAV_REAL_MEMORY KAV_REAL
#endif

// A function that fails with an errno when it is the turn of its fault.
#define KAV_FAILS(result, name, parameters, arguments, fault, error, failure) \
  result name parameters {                                                    \
    KAV_REAL(name);                                                           \
    return Fails(fault, error) ? failure : real arguments;                    \
  }
// The same of one that has let go of what it was given all the same.
#define KAV_ENDS(name, parameter, argument, fault) \
  int name(parameter) {                            \
    KAV_REAL(name);                                \
    const bool fails = Fails(fault, EIO);          \
    const int result = real(argument);             \
    if (fails) errno = EIO;                        \
    return fails ? -1 : result;                    \
  }
// A function of another library that does not get over a lack of memory: it says that it is
// running, until it returns or throws.
struct Inside {
  explicit Inside(const char* name) : outer(std::exchange(faults.inside, name)) {}
  Inside(const Inside&) = delete;
  ~Inside() { faults.inside = outer; }

  const char* const outer;
};
#define KAV_WATCHED(result, name, parameters, arguments) \
  result name parameters {                               \
    KAV_REAL(name);                                      \
    const Inside inside(#name);                          \
    return real arguments;                               \
  }

extern "C" {

#ifdef KAV_ADDRESS_SANITIZER
void* __interceptor_malloc(size_t);
void* __interceptor_calloc(size_t, size_t);
void* __interceptor_realloc(void*, size_t);
int __interceptor_posix_memalign(void**, size_t, size_t);
void __interceptor_free(void*);
#endif

void* malloc(size_t size) {
  KAV_REAL_MEMORY(malloc);
  return Fails("malloc", ENOMEM) ? nullptr : Counted(real(size));
}
void* calloc(size_t count, size_t size) {
  KAV_REAL_MEMORY(calloc);
  return Fails("malloc", ENOMEM) ? nullptr : Counted(real(count, size));
}
void* realloc(void* block, size_t size) {
  KAV_REAL_MEMORY(realloc);
  if (Fails("malloc", ENOMEM)) return nullptr;
  void* moved = real(block, size);
  return block == nullptr ? Counted(moved) : moved;
}
int posix_memalign(void** block, size_t alignment, size_t size) {
  KAV_REAL_MEMORY(posix_memalign);
  if (Fails("malloc", ENOMEM)) return ENOMEM;
  const int result = real(block, alignment, size);
  if (result == 0) Counted(*block);
  return result;
}
void free(void* block) {
  KAV_REAL_MEMORY(free);
  if (faults.armed && block != nullptr) --faults.blocks;
  real(block);
}

int open64(const char* path, int flags, ...) {
  KAV_REAL(open64);
  va_list rest;
  va_start(rest, flags);
  const mode_t mode = va_arg(rest, mode_t);
  va_end(rest);
  return Fails("open", EMFILE) ? -1 : real(path, flags, mode);
}
int __open64_2(const char* path, int flags) {
  return open64(path, flags, 0);
}
int openat64(int directory, const char* path, int flags, ...) {
  KAV_REAL(openat64);
  va_list rest;
  va_start(rest, flags);
  const mode_t mode = va_arg(rest, mode_t);
  va_end(rest);
  return Fails("open", EMFILE) ? -1 : real(directory, path, flags, mode);
}
ssize_t write(int descriptor, const void* data, size_t count) {
  KAV_REAL(write);
  return Fails("write", EIO) || IsFull(descriptor, count) ? -1 : real(descriptor, data, count);
}
ssize_t pwrite64(int descriptor, const void* data, size_t count, off_t offset) {
  KAV_REAL(pwrite64);
  return Fails("write", EIO) || IsFull(descriptor, count) ? -1
                                                          : real(descriptor, data, count, offset);
}

KAV_FAILS(int, fsync, (int descriptor), (descriptor), "fsync", EIO, -1)
KAV_FAILS(int, renameat, (int from, const char* old, int to, const char* path),
          (from, old, to, path), "rename", EIO, -1)
KAV_FAILS(int, linkat, (int from, const char* old, int to, const char* path, int flags),
          (from, old, to, path, flags), "rename", EIO, -1)
KAV_FAILS(int, mkdir, (const char* path, mode_t mode), (path, mode), "mkdir", ENOSPC, -1)
KAV_FAILS(DIR*, opendir, (const char* path), (path), "opendir", EMFILE, nullptr)
KAV_FAILS(DIR*, fdopendir, (int descriptor), (descriptor), "opendir", ENOMEM, nullptr)
KAV_FAILS(dirent64*, readdir64, (DIR * stream), (stream), "readdir", EIO, nullptr)
KAV_FAILS(ssize_t, read, (int descriptor, void* data, size_t count), (descriptor, data, count),
          "read", EIO, -1)
KAV_FAILS(ssize_t, pread64, (int descriptor, void* data, size_t count, off_t offset),
          (descriptor, data, count, offset), "read", EIO, -1)
KAV_FAILS(FILE*, fopen64, (const char* path, const char* mode), (path, mode), "fopen", EMFILE,
          nullptr)
KAV_FAILS(FILE*, fdopen, (int descriptor, const char* mode), (descriptor, mode), "fopen", ENOMEM,
          nullptr)
KAV_FAILS(size_t, fwrite, (const void* data, size_t size, size_t count, FILE* file),
          (data, size, count, file), "fwrite", ENOSPC, 0)
KAV_FAILS(size_t, fread, (void* data, size_t size, size_t count, FILE* file),
          (data, size, count, file), "fread", EIO, 0)
KAV_FAILS(char*, realpath, (const char* path, char* resolved), (path, resolved), "realpath", EIO,
          nullptr)
KAV_ENDS(close, int descriptor, descriptor, "close")
KAV_ENDS(fclose, FILE* file, file, "fclose")

KAV_WATCHED(htmlParserCtxt*, htmlNewParserCtxt, (), ())
KAV_WATCHED(xmlDoc*, htmlCtxtReadIO,
            (xmlParserCtxt * context, xmlInputReadCallback read, xmlInputCloseCallback close,
             void* stream, const char* url, const char* encoding, int options),
            (context, read, close, stream, url, encoding, options))
KAV_WATCHED(xmlParserInputBuffer*, xmlParserInputBufferCreateMem,
            (const char* text, int size, xmlCharEncoding encoding), (text, size, encoding))
KAV_WATCHED(xmlDtd*, xmlIOParseDTD,
            (xmlSAXHandler * sax, xmlParserInputBuffer* input, xmlCharEncoding encoding),
            (sax, input, encoding))
KAV_WATCHED(int, xmlValidateOneElement, (xmlValidCtxt * context, xmlDoc* document, xmlNode* node),
            (context, document, node))
KAV_WATCHED(MOBI_RET, mobi_load_file, (MOBIData * data, FILE* file), (data, file))
KAV_WATCHED(MOBI_RET, mobi_parse_rawml_opt,
            (MOBIRawml * raw, const MOBIData* data, bool toc, bool dictionary, bool reconstruct),
            (raw, data, toc, dictionary, reconstruct))
// CLD2::DetectLanguageSummary(), which is C++.
KAV_WATCHED(int, _ZN4CLD221DetectLanguageSummaryEPKcibPNS_8LanguageEPiS4_Pb,
            (const char* text, int size, bool isPlain, void* languages, int* percents, int* bytes,
             bool* isReliable),
            (text, size, isPlain, languages, percents, bytes, isReliable))

// All books are made in the same second, so that they can be compared.
time_t time(time_t* now) {
  constexpr time_t kThen = 1'000'000'000;
  if (now != nullptr) *now = kThen;
  return kThen;
}

// With which libxml2 salts its tables.
int rand_r(unsigned* /*seed*/) {
  return 1;
}

}  // extern "C"

void* operator new(size_t size) {
  void* block = malloc(size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
void* operator new(size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return malloc(size);
}
void operator delete(void* block) noexcept {
  free(block);
}
void operator delete(void* block, size_t /*size*/) noexcept {
  free(block);
}
