// One piece of work on what a stranger made.
#include "hosts/kavepub/work/work.h"

#include <utility>

#include "hosts/kavepub/work/plain_book.h"
#include "hosts/kavepub/work/reader_book.h"
#include "hosts/kavepub/work/unpacking.h"

namespace {

Conversion Told(BookReport report) {
  std::vector<BookWarning> warnings = report.warnings;
  return {RemarkOn(report), std::move(warnings), std::move(report)};
}

}  // namespace

Conversion DoWork(const Work& work, int output, Progress& progress) {
  switch (work.task) {
    case Work::Task::kPlainBook:
      return MakePlainBook(work.order, work.options, work.piped, work.workDir, output, progress);
    case Work::Task::kReadersBook:
      return Told(MakeReadersBook(work.order, work.options, work.piped, output, progress));
    case Work::Task::kExamination:
      return Told(ExamineForReaders(work.order, work.options, work.piped, progress));
    case Work::Task::kUnpacking:
      Unpack(work.order.inputs.front(), work.workDir, work.room);
      return {};
  }
  return {};
}
