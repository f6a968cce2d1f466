// The places that hosts choose for a book.
#ifndef KAVEPUB_JOB_OUTPUT_H
#define KAVEPUB_JOB_OUTPUT_H

#include <string>

#include "base/atomic_output.h"
#include "edition/book/output.h"
#include "edition/kavepub.h"

// A file, which appears with Commit whole or not at all.
class FileOutput : public Output {
 public:
  explicit FileOutput(std::string place) : path(std::move(place)) {}

  Status Open();
  Status Write(std::string_view bytes) override;
  Status Commit();

 private:
  Failure Unwritable(int error) const;

  std::string path;
  AtomicOutput file;
};

// A function of the host.
class CallbackOutput : public Output {
 public:
  CallbackOutput(kavepub_write_callback callback, void* context) : write(callback), user(context) {}

  Status Write(std::string_view bytes) override;

 private:
  kavepub_write_callback write;
  void* user;
};

#endif
