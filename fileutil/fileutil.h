// Copying, moving and splitting of paths: the file functions of the public interface.
//
// Paths are NUL-terminated byte strings, separated by "/".
#ifndef KAV_EPUB_FILEUTIL_H
#define KAV_EPUB_FILEUTIL_H

#include <string>

#include "export.h"

// Copies one regular file to dst: a file name, or an existing directory, in which the copy keeps
// the name of src. An existing file is overwritten. EPUB_OK; EPUB_E_MISSING when an argument is
// null or empty or src is no regular file; EPUB_E_OUTPUT_DIR when dst and its directory are
// missing; EPUB_E_OPEN when a file cannot be opened. A write that falls short still gives EPUB_OK.
KAV_EPUB_API int CopyFile(const char* src, const char* dst);

// Copies a file, or a directory with all below it, into the existing directory dst, under its own
// name (the contents only, when src ends in "/"). Links are followed, special files are errors. A
// missing src gives EPUB_OK; every failure gives EPUB_E_FAILED and stops the copy, a single file's
// copy gives the codes of CopyFile. A directory cannot be copied into itself.
KAV_EPUB_API int CopyFileOrDir(const char* src, const char* dst);

// Moves the contents of the directory src into dst, which is made if only its last level is
// missing, and deletes src. To another file system they are copied, with their owners,
// permissions and times where that can be, and deleted only then. A missing src gives EPUB_OK.
// EPUB_E_FAILED on failure: what could not be moved stays in src with all that was to come after
// it. A directory cannot be moved into itself.
KAV_EPUB_API int MoveDir(const char* src, const char* dst);

// Splits path at its last "/", or at its last "\" when there is no "/". Without either the whole
// path is the name and dir is empty. A null or empty path changes nothing.
KAV_EPUB_API void GetFileOrDirFromPath(const char* path, std::string& name, std::string& dir);

// Does nothing: a file is made by the open that writes it. Kept for hosts that call it.
KAV_EPUB_API KAV_EPUB_DEPRECATED("it does nothing") void CreateFile(const char* path);

#endif
