// One piece of work in a cell of its own, from the host's side.
#ifndef KAVEPUB_CELL_ERRAND_H
#define KAVEPUB_CELL_ERRAND_H

#include <functional>
#include <string>
#include <string_view>

#include "edition/book/result.h"
#include "edition/cell/cells.h"
#include "edition/cell/rules.h"

class Errand {
 public:
  CellRules rules;
  int output = -1;                       // the host's
  std::function<bool(double)> progress;  // true to cancel; asked ten times a second at least

  // Waits until the cell has ended; nothing of it is left then.
  Status Run(const Cells& cells, std::string_view request);

  // What the work answered.
  const std::string& Answer() const { return answer; }

 private:
  std::string answer;
};

#endif
