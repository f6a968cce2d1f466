// One book to make: from inputs, options and an output to a report.
#ifndef KAVEPUB_JOB_H
#define KAVEPUB_JOB_H

#include <deque>
#include <optional>
#include <string>
#include <string_view>

#include "edition/book/output.h"
#include "edition/book/run.h"
#include "edition/job_options.h"
#include "edition/kavepub.h"
#include "edition/report.h"

// A kind of inputs that there is a source for, as the report has it; null past the last one.
const char* KindAt(size_t index);

class Job {
 public:
  Status AddPath(const char* path);
  Status AddMemory(const char* name, std::string_view bytes);
  Status Set(std::string_view name, std::string_view value, bool isData);
  Status SetOutput(const char* path);
  Status SetOutput(kavepub_write_callback write, void* user);
  Status SetProgress(kavepub_progress_callback progress, void* user);

  Status Examine();
  Status MakeBook();
  void Cancel() { run.Cancel(); }

  const Report& Found() const { return report; }

 private:
  struct PendingInput {
    std::string name;
    std::optional<std::string_view> bytes;  // of the host; else the name is a path
  };

  Status MustBeOpen() const;
  Status Read(BookSink* writer);
  Status WriteTo(Output& output);
  Result<std::vector<Input>> OpenInputs() const;

  std::vector<PendingInput> pending;
  JobOptions options;
  std::string outputPath;
  kavepub_write_callback outputCallback = nullptr;
  void* outputUser = nullptr;

  Run run;
  Report report;
  bool hasRun = false;
};

#endif
