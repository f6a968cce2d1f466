// The journal of a run: a line for each book, as soon as it is finished.
#ifndef KAVEPUB_JOURNAL_H
#define KAVEPUB_JOURNAL_H

#include <filesystem>
#include <memory>
#include <string>

#include "base/unique_fd.h"
#include "hosts/kavepub/make/batch.h"
#include "hosts/kavepub/plan/name_list.h"

// Each line is appended by one call of the system, so that processes of one machine can share a
// journal, and being killed cuts off at most the last line. The next run ends a line that was cut
// off before it adds its own. What cannot be written is tried again with every further line.
class Journal {
 public:
  // Throws WrongUsage when the file cannot be opened or made.
  Journal(const std::filesystem::path& place, const Share& ofRun);

  // Adds a book that was made, is up to date or failed; others will have another try.
  void Add(const BookOrder& order, const Outcome& outcome);

  // Throws a Failure when lines could not be written.
  void Close();

 private:
  bool Write();

  std::filesystem::path path;
  std::string host;
  std::string share;
  UniqueFd file;
  std::string waiting;  // whole lines, after a line feed where the file's last line was cut off
  int error = 0;        // of the system, when lines wait
};

// Hears all that another reporter hears, and keeps a journal of it.
class JournalingReporter : public Reporter {
 public:
  JournalingReporter(Reporter& listener, Journal& record) : reporter(listener), journal(record) {}

  void Finished(const BookOrder& order, const Outcome& outcome) override;
  std::unique_ptr<Progress> NewProgress(const BookOrder& order) override;

 private:
  Reporter& reporter;
  Journal& journal;
};

#endif
