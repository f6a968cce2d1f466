// The whole content of a file.
#ifndef KAV_BASE_READ_FILE_H
#define KAV_BASE_READ_FILE_H

#include <sys/types.h>

#include <optional>
#include <string>

#include "base/unique_fd.h"

// Which file it is, whatever its path leads to meanwhile.
struct FileIdentity {
  dev_t device;
  ino_t inode;
};

// Opens a regular file for reading (a pipe would block, a device may not end); with an identity,
// only that very file.
UniqueFd OpenRegularFile(const char* path, const FileIdentity* expected = nullptr);

// Nothing when the file cannot be opened like that or not be read to its end.
std::optional<std::string> ReadRegularFile(const char* path,
                                           const FileIdentity* expected = nullptr);

#endif
