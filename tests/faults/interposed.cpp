// The calls themselves: each fails when its turn has come, and else does what it always does.
#include "interposed.h"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <libxml/HTMLparser.h>
#include <minizip/zip.h>
#include <mobi.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

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
  if (faults.hit == nullptr && faults.inside != nullptr) {
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

// Says which function is running.
class Inside {
 public:
  explicit Inside(const char* name) : outer(faults.inside) { faults.inside = name; }
  ~Inside() { faults.inside = outer; }
  Inside(const Inside&) = delete;
  Inside& operator=(const Inside&) = delete;

 private:
  const char* outer;
};

}  // namespace

// The real function, looked up once. Those of the sanitizer for memory are needed before anything
// can be looked up.
#define KAV_REAL(name) static auto* const real = Real(#name, &name)
#ifdef KAV_ADDRESS_SANITIZER
#define KAV_REAL_MEMORY(name) auto* const real = __interceptor_##name
#else
#define KAV_REAL_MEMORY KAV_REAL
#endif

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
// As on Linux, the descriptor is gone all the same.
int close(int descriptor) {
  KAV_REAL(close);
  const bool fails = Fails("close", EIO);
  const int result = real(descriptor);
  if (fails) errno = EIO;
  return fails ? -1 : result;
}
int fsync(int descriptor) {
  KAV_REAL(fsync);
  return Fails("fsync", EIO) ? -1 : real(descriptor);
}
int renameat(int from, const char* old, int to, const char* path) {
  KAV_REAL(renameat);
  return Fails("rename", EIO) ? -1 : real(from, old, to, path);
}
int linkat(int from, const char* old, int to, const char* path, int flags) {
  KAV_REAL(linkat);
  return Fails("rename", EIO) ? -1 : real(from, old, to, path, flags);
}
int mkdir(const char* path, mode_t mode) {
  KAV_REAL(mkdir);
  return Fails("mkdir", ENOSPC) ? -1 : real(path, mode);
}
DIR* opendir(const char* path) {
  KAV_REAL(opendir);
  return Fails("opendir", EMFILE) ? nullptr : real(path);
}
DIR* fdopendir(int descriptor) {
  KAV_REAL(fdopendir);
  return Fails("opendir", ENOMEM) ? nullptr : real(descriptor);
}
dirent64* readdir64(DIR* stream) {
  KAV_REAL(readdir64);
  return Fails("readdir", EIO) ? nullptr : real(stream);
}
ssize_t read(int descriptor, void* data, size_t count) {
  KAV_REAL(read);
  return Fails("read", EIO) ? -1 : real(descriptor, data, count);
}
ssize_t pread64(int descriptor, void* data, size_t count, off_t offset) {
  KAV_REAL(pread64);
  return Fails("read", EIO) ? -1 : real(descriptor, data, count, offset);
}
FILE* fopen64(const char* path, const char* mode) {
  KAV_REAL(fopen64);
  return Fails("fopen", EMFILE) ? nullptr : real(path, mode);
}
FILE* fdopen(int descriptor, const char* mode) {
  KAV_REAL(fdopen);
  return Fails("fopen", ENOMEM) ? nullptr : real(descriptor, mode);
}
size_t fwrite(const void* data, size_t size, size_t count, FILE* file) {
  KAV_REAL(fwrite);
  return Fails("fwrite", ENOSPC) ? 0 : real(data, size, count, file);
}
size_t fread(void* data, size_t size, size_t count, FILE* file) {
  KAV_REAL(fread);
  return Fails("fread", EIO) ? 0 : real(data, size, count, file);
}
int fclose(FILE* file) {
  KAV_REAL(fclose);
  const bool fails = Fails("fclose", EIO);
  const int result = real(file);
  if (fails) errno = EIO;
  return fails ? EOF : result;
}
char* realpath(const char* path, char* resolved) {
  KAV_REAL(realpath);
  return Fails("realpath", EIO) ? nullptr : real(path, resolved);
}

// Functions of other libraries that do not get over a lack of memory.

htmlParserCtxt* htmlNewParserCtxt() {
  KAV_REAL(htmlNewParserCtxt);
  const Inside inside("htmlNewParserCtxt");
  return real();
}
xmlDoc* htmlCtxtReadMemory(xmlParserCtxt* context, const char* buffer, int size, const char* url,
                           const char* encoding, int options) {
  KAV_REAL(htmlCtxtReadMemory);
  const Inside inside("htmlCtxtReadMemory");
  return real(context, buffer, size, url, encoding, options);
}
xmlParserInputBuffer* xmlParserInputBufferCreateMem(const char* text, int size,
                                                    xmlCharEncoding encoding) {
  KAV_REAL(xmlParserInputBufferCreateMem);
  const Inside inside("xmlParserInputBufferCreateMem");
  return real(text, size, encoding);
}
xmlDtd* xmlIOParseDTD(xmlSAXHandler* sax, xmlParserInputBuffer* input, xmlCharEncoding encoding) {
  KAV_REAL(xmlIOParseDTD);
  const Inside inside("xmlIOParseDTD");
  return real(sax, input, encoding);
}
xmlNode* xmlDocCopyNode(xmlNode* node, xmlDoc* document, int extended) {
  KAV_REAL(xmlDocCopyNode);
  const Inside inside("xmlDocCopyNode");
  return real(node, document, extended);
}
int xmlValidateOneElement(xmlValidCtxt* context, xmlDoc* document, xmlNode* node) {
  KAV_REAL(xmlValidateOneElement);
  const Inside inside("xmlValidateOneElement");
  return real(context, document, node);
}
MOBI_RET mobi_load_file(MOBIData* data, FILE* file) {
  KAV_REAL(mobi_load_file);
  const Inside inside("mobi_load_file");
  return real(data, file);
}
MOBI_RET mobi_get_rawml(const MOBIData* data, char* text, size_t* length) {
  KAV_REAL(mobi_get_rawml);
  const Inside inside("mobi_get_rawml");
  return real(data, text, length);
}
MOBI_RET mobi_parse_rawml_opt(MOBIRawml* raw, const MOBIData* data, bool toc, bool dictionary,
                              bool reconstruct) {
  KAV_REAL(mobi_parse_rawml_opt);
  const Inside inside("mobi_parse_rawml_opt");
  return real(raw, data, toc, dictionary, reconstruct);
}
int zipOpenNewFileInZip4_64(zipFile file, const char* name, const zip_fileinfo* info,
                            const void* localExtra, uInt localSize, const void* globalExtra,
                            uInt globalSize, const char* comment, int method, int level, int raw,
                            int bits, int memory, int strategy, const char* password, uLong crc,
                            uLong madeBy, uLong flags, int zip64) {
  KAV_REAL(zipOpenNewFileInZip4_64);
  const Inside inside("zipOpenNewFileInZip4_64");
  return real(file, name, info, localExtra, localSize, globalExtra, globalSize, comment, method,
              level, raw, bits, memory, strategy, password, crc, madeBy, flags, zip64);
}

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
