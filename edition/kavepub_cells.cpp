// The part of the C interface that is about cells.
#include <dirent.h>
#include <time.h>

#include <iterator>
#include <memory>

#include "edition/cell/cells.h"
#include "edition/cell/channel.h"
#include "edition/cell/defences.h"
#include "edition/cell/errand.h"
#include "edition/handle.h"
#include "edition/job.h"

struct kavepub_cells {
  std::unique_ptr<Cells> cells;
};

struct kavepub_errand : Words {
  Errand errand;
};

namespace {

struct {
  const char* name;
  std::uint64_t CellRules::*limit;
} constexpr kLimits[] = {{"memory", &CellRules::memory},
                         {"file-size", &CellRules::fileSize},
                         {"seconds", &CellRules::seconds}};

// Books for nobody: what they load and find out, about fonts in the languages of most books too,
// cells have from the beginning.
constexpr struct {
  const char* name;
  std::string_view content;
} kExamples[] = {{"english.txt", "It was the best of times, it was the worst of times."},
                 {"chinese.txt", "话说天下大势,分久必合,合久必分。周末七国分争,并入于秦。"},
                 {"word.html", "<p>word</p>"}};

size_t Threads() {
  DIR* tasks = opendir("/proc/self/task");
  if (tasks == nullptr) return 1;
  size_t entries = 0;
  while (readdir(tasks) != nullptr) ++entries;
  closedir(tasks);
  return entries - 2;  // without "." and ".."
}

// What drawing a cover has begun may go on for a moment after it, and would be cut off in a copy.
void AwaitThreads() {
  constexpr timespec kMoment = {0, 1'000'000};
  for (int moments = 0; Threads() > 1 && moments < 100; ++moments) nanosleep(&kMoment, nullptr);
}

void Prepare() {
  for (const auto& example : kExamples) {
    Job job;
    const bool isReady = job.AddMemory(example.name, example.content) &&
                         job.Set("threads", "1", false) &&
                         job.SetOutput([](void*, const void*, size_t) { return 0; }, nullptr);
    if (isReady) static_cast<void>(job.MakeBook());
  }
  AwaitThreads();
}

Status TakePath(const char* path, const auto& take) {
  if (path == nullptr || *path == '\0') return Failure{KAVEPUB_E_ARGUMENT, "A path is empty."};
  take(path);
  return Done();
}

int Tell(const kavepub_cell* cell, MessageKind kind, const void* bytes, size_t size) {
  if (cell == nullptr || (bytes == nullptr && size > 0)) return 0;
  try {
    return SendAll(cell->channel, Frame(kind, Bytes(bytes, size))) ? 1 : 0;
  } catch (...) {
    return 0;
  }
}

}  // namespace

int kavepub_cells_open(kavepub_cells** cells, kavepub_work_callback work, void* user) {
  if (cells == nullptr || work == nullptr) return KAVEPUB_E_ARGUMENT;
  try {
    auto opened = Cells::Open(
        [work, user](kavepub_cell& cell, std::string_view request) {
          work(user, &cell, request.data(), request.size());
        },
        Prepare);
    if (!opened) return opened.Why().code;
    auto owned = std::make_unique<kavepub_cells>();
    owned->cells = std::move(*opened);
    *cells = owned.release();
    return KAVEPUB_OK;
  } catch (...) {
    return KAVEPUB_E_MEMORY;
  }
}

void kavepub_cells_close(kavepub_cells* cells) {
  delete cells;
}

int kavepub_defence_at(size_t index, kavepub_defence* defence, size_t size) {
  try {
    const kavepub_defence* known = DefenceAt(index);
    return known == nullptr ? 0 : Hand(*known, defence, size);
  } catch (...) {
    return 0;
  }
}

kavepub_errand* kavepub_errand_new(void) {
  try {
    return new kavepub_errand;
  } catch (...) {
    return nullptr;
  }
}

void kavepub_errand_free(kavepub_errand* errand) {
  delete errand;
}

int kavepub_errand_read(kavepub_errand* errand, const char* path) {
  return Do(errand, [&] {
    return TakePath(path, [&](const char* file) { errand->errand.rules.readable.push_back(file); });
  });
}

int kavepub_errand_write(kavepub_errand* errand, const char* directory) {
  return Do(errand, [&] {
    return TakePath(directory, [&](const char* path) { errand->errand.rules.writable = path; });
  });
}

int kavepub_errand_set_output(kavepub_errand* errand, int descriptor) {
  return Do(errand, [&] {
    errand->errand.output = descriptor;
    return Done();
  });
}

int kavepub_errand_limit(kavepub_errand* errand, const char* what, uint64_t most) {
  return Do(errand, [&]() -> Status {
    const auto* known = std::find_if(std::begin(kLimits), std::end(kLimits), [&](const auto& row) {
      return what != nullptr && std::string_view(what) == row.name;
    });
    if (known == std::end(kLimits)) {
      return Failure{KAVEPUB_E_ARGUMENT, "There is no such limit."};
    }
    errand->errand.rules.*known->limit = most;
    return Done();
  });
}

int kavepub_errand_set_progress(kavepub_errand* errand, kavepub_progress_callback progress,
                                void* user) {
  return Do(errand, [&] {
    errand->errand.progress = nullptr;
    if (progress != nullptr) {
      errand->errand.progress = [progress, user](double done) { return progress(user, done) != 0; };
    }
    return Done();
  });
}

int kavepub_errand_run(kavepub_errand* errand, const kavepub_cells* cells, const void* request,
                       size_t size) {
  return Do(errand, [&]() -> Status {
    if (cells == nullptr || (request == nullptr && size > 0)) {
      return Failure{KAVEPUB_E_ARGUMENT, kNull};
    }
    return errand->errand.Run(*cells->cells, Bytes(request, size));
  });
}

const void* kavepub_errand_answer(const kavepub_errand* errand, size_t* size) {
  if (size != nullptr) *size = errand == nullptr ? 0 : errand->errand.Answer().size();
  return errand == nullptr ? "" : errand->errand.Answer().data();
}

const char* kavepub_errand_error(const kavepub_errand* errand) {
  return errand == nullptr ? kNull : errand->error;
}

int kavepub_cell_output(const kavepub_cell* cell) {
  return cell == nullptr ? -1 : cell->output;
}

int kavepub_cell_progress(const kavepub_cell* cell, double done) {
  return Tell(cell, MessageKind::kProgress, &done, sizeof done);
}

int kavepub_cell_answer(const kavepub_cell* cell, const void* bytes, size_t size) {
  return Tell(cell, MessageKind::kAnswer, bytes, size);
}
