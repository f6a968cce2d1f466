// Cells, as their host has them.
#ifndef KAVEPUB_CELL_CELLS_H
#define KAVEPUB_CELL_CELLS_H

#include <sys/types.h>

#include <functional>
#include <memory>
#include <string_view>

#include "edition/book/result.h"
#include "edition/cell/rules.h"
#include "edition/cell/zygote.h"

// What the work in a cell has of the world.
struct kavepub_cell {
  int channel = -1;
  int output = -1;
};

class Cells {
 public:
  using Work = std::function<void(kavepub_cell&, std::string_view request)>;

  // Makes the zygote, a copy of this process as it is now, and its guard. `prepare` is what it does
  // before the second cell, so that this and all further ones need not.
  static Result<std::unique_ptr<Cells>> Open(const Work& work,
                                             const std::function<void()>& prepare);
  ~Cells();
  Cells(const Cells&) = delete;
  Cells& operator=(const Cells&) = delete;

  // Begins a cell; any thread.
  bool Begin(const CellEnds& ends) const { return AskForCell(zygote.Get(), ends); }

 private:
  Cells(UniqueFd toZygote, pid_t made) : zygote(std::move(toZygote)), guard(made) {}

  UniqueFd zygote;
  pid_t guard;
};

#endif
