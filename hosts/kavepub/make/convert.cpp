// Carries out one order: has the book made, and puts it in its place.
#include "hosts/kavepub/make/convert.h"

#include <string>

#include "hosts/kavepub/console/work_dir.h"
#include "hosts/kavepub/make/book_output.h"
#include "hosts/kavepub/source/standard_input.h"
#include "hosts/kavepub/work/reader_book.h"
#include "hosts/kavepub/work/written.h"

namespace {

std::string Piped(const BookOrder& order) {
  return order.inputs.front() == kStandardStream ? ReadStandardInput() : std::string();
}

Conversion MakeBook(Work& work, const Workshop& workshop, int output, Progress& progress) {
  if (IsForReaders(work.order, work.options)) {
    try {
      return workshop.Do(work, output, progress);
    } catch (const Unsupported&) {
      if (work.order.kind == BookKind::kPictures) throw;
      // Something else than its name promises, of which only plain books are made.
    }
  }
  const WorkDir workDir(work.options.workDir);
  work.task = Work::Task::kPlainBook;
  work.workDir = workDir.Path();
  return workshop.Do(work, output, progress);
}

}  // namespace

Conversion ConvertBook(const BookOrder& order, const BookOptions& options, const Workshop& workshop,
                       const Provenance& provenance, Progress& progress) {
  BookOutput output(order.output);
  Work work{Work::Task::kReadersBook, order, options, Piped(order)};
  try {
    Conversion made = MakeBook(work, workshop, output.Descriptor(), progress);
    output.Finish(provenance);
    return made;
  } catch (const NotWritten& failure) {
    output.Fail(failure.code().value());
  }
}

Conversion ExamineBook(const BookOrder& order, const BookOptions& options, const Workshop& workshop,
                       Progress& progress) {
  constexpr int kNone = -1;
  return workshop.Do({Work::Task::kExamination, order, options, Piped(order)}, kNone, progress);
}
