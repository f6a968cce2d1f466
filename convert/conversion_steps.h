// The steps that all whole-file conversions share.
#ifndef KAV_EPUB_CONVERSION_STEPS_H
#define KAV_EPUB_CONVERSION_STEPS_H

#include "convert/progress_callback.h"

// Reports progress to a host that wants it. True when the host cancels by it.
bool ReportAndAskToCancel(ProgressCallback progress, void* user, int done, int total);

// Whether the directory that is to hold the book at path exists.
bool OutputDirectoryExists(const char* path);

#endif
