// The walk over everything below a directory, depth first.
#ifndef KAV_BASE_TREE_WALK_H
#define KAV_BASE_TREE_WALK_H

#include "base/directory_cursor.h"

// Needs no recursion and a handful of descriptors, however deep the tree is. All names of a
// directory are read before the first is visited, so visitors may delete.
class TreeWalk {
 public:
  virtual ~TreeWalk() = default;

  // Visits all below the cursor. What cannot be read is left out, the rest visited all the same.
  // True when nothing was left out.
  bool Run(DirectoryCursor& cursor);

 protected:
  // An entry was met in directory; type is that of dirent, DT_UNKNOWN included. True to enter it.
  virtual bool Visit(int directory, const char* name, unsigned char type) = 0;

  // The walk went down into name, a directory.
  virtual void Entered(const char* /*name*/) {}

  // The walk came back from name into directory.
  virtual void Left(int /*directory*/, const char* /*name*/) {}
};

#endif
