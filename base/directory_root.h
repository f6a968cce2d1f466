// Files below a directory, and none outside, whatever their paths say.
#ifndef KAV_BASE_DIRECTORY_ROOT_H
#define KAV_BASE_DIRECTORY_ROOT_H

#include <optional>
#include <string>

#include "base/unique_fd.h"

class DirectoryRoot {
 public:
  DirectoryRoot() = default;  // of nothing
  explicit DirectoryRoot(const std::string& directory);

  // Opens a regular file for reading, by its path from the directory on. Symbolic links are
  // followed where they stay below the directory; one that is put there meanwhile leads nowhere.
  UniqueFd Open(const std::string& path) const;

  // The way from it to another directory, with a "/" at its end, or empty for itself; nothing for
  // one that is not below it.
  std::optional<std::string> WayTo(const std::string& directory) const;

 private:
  UniqueFd OpenResolved(const std::string& path) const;

  UniqueFd directory;
  std::string resolved;  // its path without links, with a "/" at the end
};

#endif
