// The packing of a book directory: what goes into the container, in which order and how.
#include "platform/kav_ebase/kav_ebase.h"

#include <strings.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <new>
#include <string_view>

#include "base/atomic_output.h"
#include "platform/kav_ebase/book_files.h"
#include "platform/kav_ebase/book_listing.h"
#include "platform/kav_ebase/container_writer.h"

namespace {

using Method = ZipStream::Method;

constexpr const char* kMimetypeName = "mimetype";

// Extensions of files whose format compresses already: deflating them costs time and gains nothing.
constexpr std::array kCompressedFormats{"jpg",  "jpeg", "png", "gif",  "webp", "avif", "jp2",
                                        "jxl",  "mp3",  "m4a", "aac",  "ogg",  "oga",  "opus",
                                        "flac", "mp4",  "m4v", "webm", "ogv",  "woff", "woff2"};

bool IsNullOrEmpty(const char* text) {
  return text == nullptr || *text == '\0';
}

bool IsDirectory(const char* path) {
  struct stat status {};
  return stat(path, &status) == 0 && S_ISDIR(status.st_mode);
}

Method MethodOf(std::string_view path) {
  const std::string_view name = path.substr(path.rfind('/') + 1);
  const size_t dot = name.rfind('.');
  if (dot == std::string_view::npos) return Method::kDeflated;
  const char* extension = name.data() + dot + 1;  // ends with the path, at its NUL
  const bool compressed =
      std::any_of(kCompressedFormats.begin(), kCompressedFormats.end(),
                  [&](const char* format) { return strcasecmp(format, extension) == 0; });
  return compressed ? Method::kStored : Method::kDeflated;
}

int AddFile(ContainerWriter& container, BookFiles& files, const char* path, Method method) {
  BookFile file;
  if (!files.Open(path, file)) return KAV_EBASE_E_READ;
  return container.Add(path, file, method);
}

int AddFiles(ContainerWriter& container, BookFiles& files, const BookListing& listing) {
  if (const int result = AddFile(container, files, kMimetypeName, Method::kStored); result != 0) {
    return result;
  }
  for (size_t i = 0; i < listing.Size(); ++i) {
    const int result = AddFile(container, files, listing[i], MethodOf(listing[i]));
    if (result != 0) return result;
  }
  return container.Finish();
}

int CreateEpub(const char* bookDir, const char* epubPath) {
  if (!IsDirectory(bookDir)) return KAV_EBASE_E_BOOK_DIR;
  DirectoryCursor book;
  if (!book.Open(bookDir, 0)) return KAV_EBASE_E_READ;
  BookListing listing;
  if (const int result = listing.Read(book, kMimetypeName); result != 0) return result;

  AtomicOutput output;
  if (!output.Open(epubPath)) return KAV_EBASE_E_OUTPUT;
  ContainerWriter container(output.Fd());
  BookFiles files(book);
  if (const int result = AddFiles(container, files, listing); result != 0) return result;
  return output.Commit() ? KAV_EBASE_OK : KAV_EBASE_E_WRITE;
}

}  // namespace

int Kav_CreateEpubFromDir(const char* bookDir, const char* epubPath) {
  if (IsNullOrEmpty(bookDir) || IsNullOrEmpty(epubPath)) return KAV_EBASE_E_ARGUMENT;
  try {
    return CreateEpub(bookDir, epubPath);
  } catch (...) {  // the standard library's lack of memory is all there is to catch
    return KAV_EBASE_E_MEMORY;
  }
}
