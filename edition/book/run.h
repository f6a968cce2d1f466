// What a running job shares with its sources: cancellation, progress, and what it has to tell.
#ifndef KAVEPUB_BOOK_RUN_H
#define KAVEPUB_BOOK_RUN_H

#include <atomic>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "edition/book/result.h"

struct Warning {
  std::string message;
  std::string place;
};

class Run {
 public:
  // Forgets what the last run told.
  void Begin();

  // Any thread, and signal handlers.
  void Cancel() { cancelled = true; }
  void Resume() { cancelled = false; }
  bool IsCancelled() const { return cancelled; }

  // Tells how much of the work is done, from 0 to 1. A failure with KAVEPUB_CANCELLED when the work
  // is to end; sources call it at least once for each megabyte they read.
  Status Advance(double done);

  // Tells what was found out, under a key of the report: "encoding", "paragraphs".
  void Tell(const std::string& key, std::string value) { facts[key] = std::move(value); }

  void Warn(Warning warning) { warnings.push_back(std::move(warning)); }

  std::function<bool(double)> progress;  // true to cancel
  std::map<std::string, std::string> facts;
  std::vector<Warning> warnings;

 private:
  std::atomic<bool> cancelled = false;
  double shown = -1;
};

#endif
