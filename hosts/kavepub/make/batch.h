// Many books, on several threads.
#ifndef KAVEPUB_BATCH_H
#define KAVEPUB_BATCH_H

#include <vector>

#include "hosts/kavepub/make/outcome.h"
#include "hosts/kavepub/make/workshop.h"
#include "hosts/kavepub/plan/book_order.h"
#include "hosts/kavepub/work/progress.h"

// Hears how the books of a call fare; called by one thread at a time.
class Reporter {
 public:
  virtual ~Reporter() = default;

  virtual void Finished(const BookOrder& order, const Outcome& outcome) = 0;

  // The progress of a book that is being made; to be released before Finished is called for it.
  virtual std::unique_ptr<Progress> NewProgress(const BookOrder& order) = 0;
};

// Of books that are there already, those that would come out the same are left alone, those that
// this tool made of the same source are made again, and all others are failures; or any book that
// is there is one.
enum class Existing { kKeepIfSame, kRefuse };

// How the books of a call are made.
struct Making {
  const BookOptions& options;
  const Workshop& workshop;
  Existing existing;
};

// Makes all books, each in a cell or working directory of its own. A failing book does not stop the
// others; an interruption stops them all.
void MakeBooks(const std::vector<BookOrder>& orders, const Making& making, unsigned jobs,
               Reporter& reporter);

#endif
