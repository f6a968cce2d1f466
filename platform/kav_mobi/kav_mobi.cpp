// The C record of the reader: nothing but its operations passes the boundary, no exception either.
#include "platform/kav_mobi/kav_mobi.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string>

#include "platform/kav_mobi/html_file.h"
#include "platform/kav_mobi/metadata.h"
#include "platform/kav_mobi/reader.h"

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
  return Guarded([=] { return kav_mobi::Book::Open(mobiPath, reader->book); });
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
