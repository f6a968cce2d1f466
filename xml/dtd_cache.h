// The DTD against which pages are validated.
#ifndef KAV_EPUB_DTD_CACHE_H
#define KAV_EPUB_DTD_CACHE_H

#include <libxml/tree.h>
#include <sys/stat.h>

#include <memory>
#include <string>
#include <string_view>

struct FreeDtd {
  void operator()(xmlDtd* dtd) const { xmlFreeDtd(dtd); }
};
using DtdPointer = std::unique_ptr<xmlDtd, FreeDtd>;

// Null when the text is no DTD.
DtdPointer ParseDtd(std::string_view text);

// Parses a DTD file once for all pages of a book, as long as the file stays the same. Used by one
// thread at a time.
class DtdCache {
 public:
  // Null when the file does not exist or is no DTD.
  xmlDtd* Get(const char* path);

 private:
  std::string parsedPath;
  struct stat parsedStatus {};
  DtdPointer dtd;
};

#endif
