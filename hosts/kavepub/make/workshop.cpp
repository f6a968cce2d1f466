// Where work on what strangers made is done: in cells, or in this process.
#include "hosts/kavepub/make/workshop.h"

#include <new>
#include <utility>

#include "hosts/kavepub/console/interruption.h"
#include "hosts/kavepub/make/allowance.h"
#include "hosts/kavepub/work/work_message.h"

namespace {

struct FreeErrand {
  void operator()(kavepub_errand* owned) const { kavepub_errand_free(owned); }
};
using Errand = std::unique_ptr<kavepub_errand, FreeErrand>;

// "Landlock and seccomp".
std::string LackingDefences() {
  std::string names;
  kavepub_defence defence = {};
  for (size_t i = 0; kavepub_defence_at(i, &defence, sizeof defence) != 0; ++i) {
    if (defence.is_there != 0 || defence.is_needed == 0) continue;
    names += (names.empty() ? "" : " and ") + std::string(defence.name);
  }
  return names;
}

class ProgressOfCell : public Progress {
 public:
  explicit ProgressOfCell(const kavepub_cell* inside) : cell(inside) {}

  void Show(double share) override { kavepub_cell_progress(cell, share); }

 private:
  const kavepub_cell* cell;
};

void WorkInCell(void* /*user*/, kavepub_cell* cell, const void* request, size_t size) {
  const std::string end = WriteEnd([&] {
    ProgressOfCell progress(cell);
    const Work work = ReadWork({static_cast<const char*>(request), size});
    return DoWork(work, kavepub_cell_output(cell), progress);
  });
  kavepub_cell_answer(cell, end.data(), end.size());
}

// Is asked ten times a second, also before the cell has told anything.
int OnProgress(void* user, double done) {
  auto& progress = *static_cast<Progress*>(user);
  if (done > 0) progress.Show(done);
  return WasInterrupted() || progress.WantsToStop() ? 1 : 0;
}

Errand NewErrand(const Work& work, int output, Progress& progress) {
  Errand errand(kavepub_errand_new());
  if (!errand) throw std::bad_alloc();
  const auto require = [](int code) {
    if (code != KAVEPUB_OK) throw std::bad_alloc();
  };
  for (const auto& path : ReadableFor(work))
    require(kavepub_errand_read(errand.get(), path.c_str()));
  if (!work.workDir.empty()) require(kavepub_errand_write(errand.get(), work.workDir.c_str()));
  for (const auto& [what, most] : LimitsFor(work)) {
    require(kavepub_errand_limit(errand.get(), what, most));
  }
  require(kavepub_errand_set_output(errand.get(), output));
  require(kavepub_errand_set_progress(errand.get(), OnProgress, &progress));
  return errand;
}

// What a person can do about a cell that came to no good end.
const struct {
  int code;
  const char* advice;
  Cause cause;
} kAdvice[] = {
    {KAVEPUB_E_LIMIT, "; give it more by --memory or --time if it deserves that", Cause::kBook},
    {KAVEPUB_E_CRASH, "; report it, with the file", Cause::kBook},
    {KAVEPUB_E_FORBIDDEN, "; do not trust this file", Cause::kBook},
    {KAVEPUB_E_CELL, "; try again", Cause::kMachine},
    {KAVEPUB_E_MEMORY, "; close other programs and try again", Cause::kMemory},
};

[[noreturn]] void ThrowFate(const Work& work, int code, std::string words) {
  if (code == KAVEPUB_CANCELLED) throw Interrupted();
  if (words.ends_with('.')) words.pop_back();
  const bool isPiped = work.order.inputs.front() == kStandardStream;
  const auto& input = isPiped ? kStandardInput : work.order.inputs.front();
  for (const auto& row : kAdvice) {
    if (row.code == code) throw Failure(input, words + row.advice, row.cause);
  }
  throw Failure(input, words);
}

}  // namespace

Workshop::Workshop(Sandbox wanted) {
  if (wanted == Sandbox::kOff) return;
  lacking = LackingDefences();
  if (!lacking.empty() && wanted == Sandbox::kRequire) {
    throw Failure("this system has no " + lacking +
                  ", so that books cannot be made in cells as --sandbox require wants it");
  }
  kavepub_cells* opened = nullptr;
  if (kavepub_cells_open(&opened, WorkInCell, nullptr) != KAVEPUB_OK) {
    throw Failure("no process can be made for cells; close other programs and try again");
  }
  cells.reset(opened);
}

Conversion Workshop::Do(const Work& work, int output, Progress& progress) const {
  return cells ? DoInCell(work, output, progress) : DoWork(work, output, progress);
}

Conversion Workshop::DoInCell(const Work& work, int output, Progress& progress) const {
  const Errand errand = NewErrand(work, output, progress);
  const std::string request = WriteWork(work);
  const int code = kavepub_errand_run(errand.get(), cells.get(), request.data(), request.size());
  if (code != KAVEPUB_OK) ThrowFate(work, code, kavepub_errand_error(errand.get()));
  size_t size = 0;
  const void* answer = kavepub_errand_answer(errand.get(), &size);
  try {
    return ReadEnd({static_cast<const char*>(answer), size});
  } catch (const std::bad_alloc&) {
    ThrowFate(work, KAVEPUB_E_LIMIT,
              "took more than " + std::to_string(MemoryFor(work) >> 20) + " MB");
  }
}
