// The copy of one file with its full outcome, for callers that must know of a short write.
#ifndef KAV_EPUB_COPY_FILE_H
#define KAV_EPUB_COPY_FILE_H

#include "base/read_file.h"

struct CopyOutcome {
  int code;       // what CopyFile returns
  bool complete;  // false when src could not be read, or dst not written, to its end
};

// With an identity, only that very file is copied.
CopyOutcome CopyFileReporting(const char* src, const char* dst,
                              const FileIdentity* expected = nullptr);

#endif
