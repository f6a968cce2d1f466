// The ways in which a call tells what it does: to a person, of one book or of many, or to a
// machine.
#ifndef KAVEPUB_REPORTERS_H
#define KAVEPUB_REPORTERS_H

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "hosts/kavepub/console/terminal.h"
#include "hosts/kavepub/make/batch.h"
#include "hosts/kavepub/plan/planning.h"

// How many books met which fate.
struct Tally {
  size_t done = 0;
  size_t planned = 0;
  size_t upToDate = 0;
  size_t failed = 0;

  void Count(const Outcome& outcome);
  size_t Finished() const { return done + planned + upToDate + failed; }
};

// Counts, and leaves the telling to its heirs.
class CountingReporter : public Reporter {
 public:
  void Finished(const BookOrder& order, const Outcome& outcome) override;
  std::unique_ptr<Progress> NewProgress(const BookOrder& order) override;

  // What lies in a folder and goes into no book.
  virtual void Skip(const Skipped& /*skipped*/) {}

  // Says what there is to say when all is over.
  virtual void Close() {}

  const Tally& Result() const { return tally; }

 protected:
  virtual void Tell(const BookOrder& order, const Outcome& outcome) = 0;

 private:
  Tally tally;
};

// One book: a bar while it is made, then its path.
std::unique_ptr<CountingReporter> ReportOneBook(bool quiet);

// Many books: a live line while they are made, then the sums and a table of the failures.
std::unique_ptr<CountingReporter> ReportManyBooks(size_t books, bool quiet);

// Books that are only planned: a line for each, and the contents of one that is not of a batch.
std::unique_ptr<CountingReporter> ReportPlan(bool quiet, bool isBatch);

// One JSON object a line for each book.
std::unique_ptr<CountingReporter> ReportInJson();

#endif
