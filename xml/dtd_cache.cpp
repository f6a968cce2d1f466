// Parsing of DTD files, and the memory of the one parsed last.
#include "xml/dtd_cache.h"

#include <libxml/parser.h>

#include <climits>
#include <new>

#include "base/error_silence.h"
#include "base/read_file.h"
#include "xml/xml_base.h"

namespace {

bool IsSameState(const struct stat& first, const struct stat& second) {
  return first.st_dev == second.st_dev && first.st_ino == second.st_ino &&
         first.st_size == second.st_size && first.st_mtim.tv_sec == second.st_mtim.tv_sec &&
         first.st_mtim.tv_nsec == second.st_mtim.tv_nsec;
}

}  // namespace

DtdPointer ParseDtd(std::string_view text) {
  if (text.size() > INT_MAX) return nullptr;
  const ErrorSilence silence;
  xmlResetLastError();
  xmlParserInputBuffer* input = xmlParserInputBufferCreateMem(
      text.data(), static_cast<int>(text.size()), XML_CHAR_ENCODING_NONE);
  return DtdPointer(input == nullptr ? nullptr
                                     : xmlIOParseDTD(nullptr, input, XML_CHAR_ENCODING_NONE));
}

xmlDtd* DtdCache::Get(const char* path) {
  struct stat status {};
  if (path == nullptr || stat(path, &status) != 0) return nullptr;
  if (dtd == nullptr || path != parsedPath || !IsSameState(status, parsedStatus)) {
    const auto text = ReadRegularFile(path);
    dtd = text ? ParseDtd(*text) : nullptr;
    // The parser may drop a declaration that it has no room for, and ours has nothing to complain
    // of.
    if (text == kXhtml1StrictDtd[0] && xmlGetLastError() != nullptr) throw std::bad_alloc();
    parsedPath = path;
    parsedStatus = status;
  }
  return dtd.get();
}
