// A position in a directory tree that moves one level at a time.
#ifndef KAV_BASE_DIRECTORY_CURSOR_H
#define KAV_BASE_DIRECTORY_CURSOR_H

#include <dirent.h>
#include <sys/types.h>

#include <vector>

#include "base/unique_fd.h"

// Holds one descriptor at any depth and never builds a path, so neither the limit on descriptors
// nor PATH_MAX bounds the tree. It follows no symbolic link and notices when somebody moves the
// directory it stands in, so that it cannot be led out of the tree.
class DirectoryCursor {
 public:
  // Starts at a directory. With O_NOFOLLOW in extraFlags a symbolic link at path is a failure.
  bool Open(const char* path, int extraFlags);

  // Goes down into a directory. On failure the position stays.
  bool Enter(const char* name);

  // Goes up again. On failure the cursor is of no further use: the way back is lost.
  bool Leave();

  // The directory it stands in.
  int Fd() const { return current.Get(); }

  // Calls visit(const dirent&) for all entries but "." and "..". False when reading failed.
  template <typename Visitor>
  bool ForEachEntry(Visitor visit) const;

 private:
  struct Identity {
    dev_t device;
    ino_t inode;
    bool operator==(const Identity&) const = default;
  };

  bool Adopt(UniqueFd directory);
  DIR* OpenStream() const;
  static const dirent* NextEntry(DIR* stream, bool& failed);

  UniqueFd current;
  std::vector<Identity> way;
};

template <typename Visitor>
bool DirectoryCursor::ForEachEntry(Visitor visit) const {
  struct Closer {
    DIR* stream;
    ~Closer() {
      if (stream != nullptr) closedir(stream);
    }
  };
  const Closer entries{OpenStream()};
  if (entries.stream == nullptr) return false;
  bool failed = false;
  while (const dirent* entry = NextEntry(entries.stream, failed)) visit(*entry);
  return !failed;
}

#endif
