// Files under names that strangers gave them.
#ifndef KAVEPUB_NEW_FILES_H
#define KAVEPUB_NEW_FILES_H

#include <filesystem>
#include <string_view>

#include "base/unique_fd.h"

// Files below a new directory, which only this process changes. Whatever they are called, none is
// outside, replaces another one, or is led elsewhere by a link.
class NewFiles {
 public:
  // Throws a Failure when the directory is not there.
  explicit NewFiles(const std::filesystem::path& directory);

  // Makes an empty file, with the directories on the way to it: "page_files/a.png". Throws a
  // Failure for what is no such name or is there already, NotWritten when the system cannot.
  UniqueFd Make(std::string_view name) const;

 private:
  UniqueFd root;
};

#endif
