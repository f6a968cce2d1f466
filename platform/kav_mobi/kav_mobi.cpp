// The C record of the reader: nothing but its operations passes the boundary, no exception either.
#include "kav_mobi.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string>

#include "html_file.h"
#include "metadata.h"
#include "reader.h"

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
int guarded(const Operation& operation) {
  try {
    return operation();
  } catch (...) {
    return KAV_MOBI_E_MEMORY;
  }
}

// Runs an operation that returns a string, and copies it for the caller to free().
template <typename Operation>
char* copied(void* handle, const Operation& operation) {
  const auto* const reader = static_cast<const Reader*>(handle);
  if (reader == nullptr || !reader->book) return nullptr;
  try {
    return strdup(operation(*reader).c_str());
  } catch (...) {
    return nullptr;
  }
}

void closeBook(void* handle) {
  auto* const reader = static_cast<Reader*>(handle);
  if (reader == nullptr) return;
  reader->book.reset();
  reader->cover.clear();
}

int openBook(void* handle, const char* mobiPath) {
  closeBook(handle);
  auto* const reader = static_cast<Reader*>(handle);
  if (reader == nullptr) return KAV_MOBI_E_OPEN;
  return guarded([=] { return kav_mobi::Book::open(mobiPath, reader->book); });
}

int extractHtml(void* handle, const char* htmlPath) {
  auto* const reader = static_cast<Reader*>(handle);
  if (reader == nullptr || !reader->book) return KAV_MOBI_E_OPEN;
  if (htmlPath == nullptr || *htmlPath == '\0') return KAV_MOBI_E_WRITE;
  return guarded([=] { return kav_mobi::writeHtmlFile(*reader->book, htmlPath, reader->cover); });
}

char* getTitle(void* handle) {
  return copied(handle, [](const Reader& reader) { return kav_mobi::titleOf(*reader.book); });
}

char* getAuthor(void* handle) {
  return copied(handle, [](const Reader& reader) { return kav_mobi::authorsOf(*reader.book); });
}

char* getCoverImage(void* handle) {
  const auto* const reader = static_cast<const Reader*>(handle);
  if (reader == nullptr || reader->cover.empty()) return nullptr;
  return copied(handle, [](const Reader& r) { return r.cover; });
}

}  // namespace

TMobiService* CreateMobiService(void) {
  auto* const service = new (std::nothrow) Service();
  if (service == nullptr) return nullptr;
  service->record = {&service->reader, openBook,  closeBook,    extractHtml,
                     getTitle,         getAuthor, getCoverImage};
  return &service->record;
}

void FreeMobiService(TMobiService* service) {
  // The record is the first member, so their addresses are the same.
  delete reinterpret_cast<Service*>(service);
}
