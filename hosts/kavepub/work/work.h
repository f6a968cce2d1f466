// One piece of work on what a stranger made: all that such bytes are read by.
#ifndef KAVEPUB_WORK_H
#define KAVEPUB_WORK_H

#include <cstdint>
#include <filesystem>
#include <string>

#include "hosts/kavepub/plan/book_order.h"
#include "hosts/kavepub/work/conversion.h"
#include "hosts/kavepub/work/progress.h"

struct Work {
  enum class Task { kReadersBook, kPlainBook, kExamination, kUnpacking };

  Task task = Task::kReadersBook;
  BookOrder order;
  BookOptions options;
  std::string piped;                   // by the standard input, if that is the input
  std::filesystem::path workDir = {};  // of its own, for a plain book or what is unpacked
  std::uint64_t room = 0;              // how many bytes may be unpacked
};

// Does it; the book goes to a descriptor. A container that is unpacked is the one input. Throws a
// Failure, Unsupported before anything is written, NotWritten, or Interrupted.
Conversion DoWork(const Work& work, int output, Progress& progress);

#endif
