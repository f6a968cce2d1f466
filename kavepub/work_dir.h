// A private directory for the working files of one book, always removed.
#ifndef KAVEPUB_WORK_DIR_H
#define KAVEPUB_WORK_DIR_H

#include <filesystem>

class WorkDir {
 public:
  // Makes a new directory in the system's directory for temporary files; throws a Failure.
  WorkDir();
  ~WorkDir();
  WorkDir(const WorkDir&) = delete;
  WorkDir& operator=(const WorkDir&) = delete;

  const std::filesystem::path& Path() const { return path; }

 private:
  std::filesystem::path path;
};

#endif
