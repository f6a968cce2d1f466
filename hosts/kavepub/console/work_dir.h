// A private directory for the working files of one book, always removed.
#ifndef KAVEPUB_WORK_DIR_H
#define KAVEPUB_WORK_DIR_H

#include <filesystem>

#include "base/unique_fd.h"

// Beside it lies a file of its name with ".lock" added, which is locked as long as the directory is
// in use. A directory whose lock is free belonged to a run that was killed; the next run removes
// it.
class WorkDir {
 public:
  // Makes a new directory in parent, or in the system's place for temporary files when parent is
  // empty; throws a Failure.
  explicit WorkDir(std::filesystem::path parent = {});
  ~WorkDir();
  WorkDir(const WorkDir&) = delete;
  WorkDir& operator=(const WorkDir&) = delete;

  const std::filesystem::path& Path() const { return path; }

 private:
  bool Make(const std::filesystem::path& parent);

  UniqueFd lock;
  std::filesystem::path path;
};

#endif
