// The output file, which appears whole or not at all.
#ifndef KAV_BASE_ATOMIC_OUTPUT_H
#define KAV_BASE_ATOMIC_OUTPUT_H

#include <sys/types.h>

#include <string>

#include "base/unique_fd.h"

// Has no name while it is written, where the file system knows such files, so that a process killed
// then leaves nothing behind. Elsewhere it has a fresh name beside its destination, ".kav-" and a
// number: a name made from the destination's could be longer than a name may be.
//
// At any moment the destination is what was there before or, whole, what takes its place.
class AtomicOutput {
 public:
  AtomicOutput() = default;
  AtomicOutput(const AtomicOutput&) = delete;
  AtomicOutput& operator=(const AtomicOutput&) = delete;
  ~AtomicOutput();

  // Begins the file that is to appear at path. A symbolic link there is followed, even one to
  // nothing yet. False when it cannot be created there, or when something else than a file is
  // there.
  bool Open(const char* path);

  // For writing, and for reading back.
  int Fd() const { return file.Get(); }

  // Puts the complete file in its place; a file it replaces has handed its permission bits on.
  // False when that fails; what is at the path is then what was there before.
  bool Commit();

 private:
  bool OpenUnnamed();
  bool OpenNamed();
  bool Publish();
  bool GiveName(const char* name);
  bool Rename();

  UniqueFd directory;
  UniqueFd file;
  std::string baseName;
  std::string temporaryName;  // empty while the file has none
};

#endif
