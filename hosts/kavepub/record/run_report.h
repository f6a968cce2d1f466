// What became of a run, by the journals of all its parts.
#ifndef KAVEPUB_RUN_REPORT_H
#define KAVEPUB_RUN_REPORT_H

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "hosts/kavepub/record/journal_line.h"

struct RunReport {
  struct Failures {
    Cause cause;
    std::string reason;
    size_t books;

    bool AreWorthAnotherTry() const { return cause != Cause::kBook; }
  };

  struct SlowBook {
    double seconds;
    std::string name;
    std::string host;
  };

  struct Work {
    size_t books = 0;
    double seconds = 0;  // of all threads together
  };

  // Of the last line of each book.
  size_t done = 0;
  size_t upToDate = 0;
  size_t failed = 0;
  std::vector<Failures> failures;  // those worth another try first, then by the number of books

  // When there is a list; else 0 and empty.
  size_t missing = 0;                     // that are in the list, but in no journal
  size_t unlisted = 0;                    // the other way round, which are counted nowhere else
  std::vector<std::string> firstMissing;  // some of them

  size_t made = 0;       // books that were made at all, by any line, in and out in bytes
  size_t madeAgain = 0;  // lines of further makings
  std::uint64_t bytesIn = 0;
  std::uint64_t bytesOut = 0;
  std::vector<SlowBook> slowest;  // the slowest first
  std::map<std::string, Work> hosts;
  JournalLine::Time begin;  // of the first book
  JournalLine::Time end;    // of the last one
  size_t brokenLines = 0;   // that were cut off, and are left out

  // From the first book's beginning to the last one's end, pauses included.
  double Seconds() const { return std::chrono::duration<double>(end - begin).count(); }
  bool IsAllWell() const { return failed == 0 && missing == 0; }
};

// Reads journals, of any size in little memory, and a list as ForEachName reads it unless its path
// is empty. Writes a list of the books worth another try, the missing ones included, unless the
// path for it is empty. Throws a Failure, or Interrupted.
RunReport ReportOnRun(const std::vector<std::filesystem::path>& journals,
                      const std::filesystem::path& list, const std::filesystem::path& retry);

#endif
