// Where work on what strangers made is done: in cells, or in this process.
#ifndef KAVEPUB_WORKSHOP_H
#define KAVEPUB_WORKSHOP_H

#include <memory>
#include <string>

#include "edition/kavepub.h"
#include "hosts/kavepub/plan/book_order.h"
#include "hosts/kavepub/work/work.h"

class Workshop {
 public:
  // For cells, to be made before anything of strangers is read and any thread is started. Throws a
  // Failure when the system cannot close cells, but has to.
  explicit Workshop(Sandbox wanted);

  // What the system lacks that cells need, for people; empty when nothing, or when no cells are
  // wanted.
  const std::string& Lacking() const { return lacking; }

  // As DoWork, and a Failure for a cell that came to no good end.
  Conversion Do(const Work& work, int output, Progress& progress) const;

 private:
  struct CloseCells {
    void operator()(kavepub_cells* owned) const { kavepub_cells_close(owned); }
  };

  Conversion DoInCell(const Work& work, int output, Progress& progress) const;

  std::unique_ptr<kavepub_cells, CloseCells> cells;
  std::string lacking;
};

#endif
