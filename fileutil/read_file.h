// The whole content of a file.
#ifndef KAV_EPUB_READ_FILE_H
#define KAV_EPUB_READ_FILE_H

#include <optional>
#include <string>

// Nothing when path is no regular file (a pipe would block, a device may not end) or cannot be read
// to its end.
std::optional<std::string> ReadRegularFile(const char* path);

#endif
