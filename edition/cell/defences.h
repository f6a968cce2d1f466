// What of the system keeps cells closed, and how much of that it has.
#ifndef KAVEPUB_CELL_DEFENCES_H
#define KAVEPUB_CELL_DEFENCES_H

#include <linux/filter.h>

#include <cstddef>
#include <string>
#include <vector>

#include "edition/cell/rules.h"
#include "edition/kavepub.h"

class Defences {
 public:
  // Looks at the system once, so that cells begin quickly.
  Defences();

  // Whether all are there.
  bool AreWhole() const;

  // Closes this process for good, all but what the rules allow. False when a defence that the
  // system has cannot be had.
  bool Close(const CellRules& rules) const;

 private:
  int landlock;
  std::vector<sock_filter> filterOfReaders;
  std::vector<sock_filter> filterOfWriters;
};

// The defences one by one, as people read of them; null past the last one.
const kavepub_defence* DefenceAt(size_t index);

#endif
