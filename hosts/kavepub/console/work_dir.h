// A private directory for the working files of one book, always removed.
#ifndef KAVEPUB_WORK_DIR_H
#define KAVEPUB_WORK_DIR_H

#include <filesystem>

class WorkDir {
 public:
  // Makes a new directory in parent, or in the system's directory for temporary files when parent
  // is empty; throws a Failure.
  explicit WorkDir(std::filesystem::path parent = {});
  ~WorkDir();
  WorkDir(const WorkDir&) = delete;
  WorkDir& operator=(const WorkDir&) = delete;

  const std::filesystem::path& Path() const { return path; }

 private:
  std::filesystem::path path;
};

#endif
