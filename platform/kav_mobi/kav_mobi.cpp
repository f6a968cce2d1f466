// The C record of the reader: nothing but its operations passes the boundary, no exception either.
#include "platform/kav_mobi/kav_mobi.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>
#include <new>
#include <string>
#include <string_view>

#include "base/mobi/metadata.h"
#include "base/mobi/reader.h"
#include "base/unique_fd.h"
#include "platform/kav_mobi/html_file.h"

namespace {

struct Reader {
  std::unique_ptr<kav_mobi::Book> book;
  std::string cover;
};

// The record and what its handle points to, made and released together.
struct Service {
  TMobiService record;
  Reader reader;
};

constexpr std::string_view kTypesOfHeader[] = KAV_MOBI_TYPES;
static_assert(KAV_MOBI_TYPE_OFFSET == kav_mobi::kTypeOffset &&
              std::equal(std::begin(kTypesOfHeader), std::end(kTypesOfHeader),
                         std::begin(kav_mobi::kBookTypes), std::end(kav_mobi::kBookTypes)));

struct CloseFile {
  void operator()(FILE* file) const { (void)fclose(file); }
};

int CodeOf(kav_mobi::Opening opening) {
  switch (opening) {
    case kav_mobi::Opening::kOpened:
      return KAV_MOBI_OK;
    case kav_mobi::Opening::kNotMobi:
      return KAV_MOBI_E_NOT_MOBI;
    case kav_mobi::Opening::kDamaged:
      return KAV_MOBI_E_DAMAGED;
    case kav_mobi::Opening::kEncrypted:
      return KAV_MOBI_E_ENCRYPTED;
    case kav_mobi::Opening::kNoText:
      return KAV_MOBI_E_NO_TEXT;
    default:
      return KAV_MOBI_E_MEMORY;
  }
}

int OpenFile(const char* path, std::unique_ptr<kav_mobi::Book>& book) {
  // Without O_NONBLOCK a pipe at path would wait for its writer.
  UniqueFd descriptor(path == nullptr ? -1 : open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (!descriptor) return KAV_MOBI_E_OPEN;
  const std::unique_ptr<FILE, CloseFile> file(fdopen(descriptor.Get(), "rb"));
  if (!file) return KAV_MOBI_E_MEMORY;
  struct stat status {};
  if (fstat(descriptor.Release(), &status) != 0 || !S_ISREG(status.st_mode)) return KAV_MOBI_E_OPEN;
  const auto size = static_cast<uint64_t>(status.st_size);
  return CodeOf(kav_mobi::Book::Open(file.get(), size, kav_mobi::Extent::kText, book));
}

// Runs an operation that returns a code; running out of memory becomes one.
template <typename Operation>
int Guarded(const Operation& operation) {
  try {
    return operation();
  } catch (...) {
    return KAV_MOBI_E_MEMORY;
  }
}

// Runs an operation that returns a string, and copies it for the caller to free().
template <typename Operation>
char* Copied(void* handle, const Operation& operation) {
  const auto* const reader = static_cast<const Reader*>(handle);
  if (reader == nullptr || !reader->book) return nullptr;
  try {
    return strdup(operation(*reader).c_str());
  } catch (...) {
    errno = ENOMEM;
    return nullptr;
  }
}

void CloseBook(void* handle) {
  auto* const reader = static_cast<Reader*>(handle);
  if (reader == nullptr) return;
  reader->book.reset();
  reader->cover.clear();
}

int OpenBook(void* handle, const char* mobiPath) {
  CloseBook(handle);
  auto* const reader = static_cast<Reader*>(handle);
  if (reader == nullptr) return KAV_MOBI_E_OPEN;
  return Guarded([=] { return OpenFile(mobiPath, reader->book); });
}

int ExtractHtml(void* handle, const char* htmlPath) {
  auto* const reader = static_cast<Reader*>(handle);
  if (reader == nullptr || !reader->book) return KAV_MOBI_E_OPEN;
  if (htmlPath == nullptr || *htmlPath == '\0') return KAV_MOBI_E_WRITE;
  return Guarded([=] { return kav_mobi::WriteHtmlFile(*reader->book, htmlPath, reader->cover); });
}

char* GetTitle(void* handle) {
  return Copied(handle, [](const Reader& reader) { return kav_mobi::TitleOf(*reader.book); });
}

char* GetAuthor(void* handle) {
  return Copied(handle, [](const Reader& reader) { return kav_mobi::AuthorsOf(*reader.book); });
}

char* GetCoverImage(void* handle) {
  const auto* const reader = static_cast<const Reader*>(handle);
  if (reader == nullptr || reader->cover.empty()) return nullptr;
  return Copied(handle, [](const Reader& r) { return r.cover; });
}

}  // namespace

TMobiService* CreateMobiService(void) {
  auto* const service = new (std::nothrow) Service();
  if (service == nullptr) return nullptr;
  service->record = {&service->reader, OpenBook,  CloseBook,    ExtractHtml,
                     GetTitle,         GetAuthor, GetCoverImage};
  return &service->record;
}

void FreeMobiService(TMobiService* service) {
  // The record is the first member, so their addresses are the same.
  delete reinterpret_cast<Service*>(service);
}
