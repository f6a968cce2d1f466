// What all documents that are written have in common: encoding, document type and the way to disk.
#ifndef KAV_EPUB_SAVED_DOCUMENT_H
#define KAV_EPUB_SAVED_DOCUMENT_H

#include <libxml/xmlIO.h>

#include "fileutil/output_file.h"

inline constexpr char kSavedEncoding[] = "UTF-8";
inline constexpr char kXhtml11PublicId[] = "-//W3C//DTD XHTML 1.1//EN";
inline constexpr char kXhtml11SystemId[] = "http://www.w3.org/TR/xhtml11/DTD/xhtml11.dtd";

// A buffer before the file, which stays the caller's; null when memory runs out. It needs no encoder:
// texts are in UTF-8 already.
inline xmlOutputBuffer* NewOutputBuffer(OutputFile& file) {
  const auto write = [](void* target, const char* bytes, int count) {
    const std::string_view view(bytes, static_cast<size_t>(count));
    return static_cast<OutputFile*>(target)->Write(view) ? count : -1;
  };
  return xmlOutputBufferCreateIO(write, nullptr, &file, nullptr);
}

#endif
