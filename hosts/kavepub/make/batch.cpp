// Hands orders to threads and outcomes to the reporter.
#include "hosts/kavepub/make/batch.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <exception>
#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

#include "hosts/kavepub/console/failure.h"
#include "hosts/kavepub/console/interruption.h"
#include "hosts/kavepub/make/book_mark.h"
#include "hosts/kavepub/make/convert.h"
#include "hosts/kavepub/make/provenance.h"
#include "hosts/kavepub/work/reader_book.h"

namespace {

namespace fs = std::filesystem;

// Whether the file is there and the same as one that the book is made of.
void RequireOtherThanSource(const BookOrder& order) {
  std::error_code error;
  for (const fs::path& input : order.inputs) {
    if (fs::equivalent(input, order.output, error)) {
      throw Failure(order.output, "is the source of this book; use -o to name another place");
    }
  }
}

bool IsReadOnly(const fs::path& file) {
  constexpr auto kWritable =
      fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write;
  std::error_code error;
  return (fs::status(file, error).permissions() & kWritable) == fs::perms::none;
}

// Why a book must not be replaced without being told to; null when it may be.
const char* ReasonToKeep(const BookOrder& order, const std::optional<BookMark>& mark,
                         const Provenance& provenance) {
  if (!mark) return "exists already and is not a book of this tool, or was edited";
  if (mark->isEdited) return "was edited since it was made";
  const auto isSame = [](const std::string& one, const std::string& other) {
    return !one.empty() && one == other;
  };
  const Provenance& made = mark->provenance;
  const bool isOfSameSource =
      isSame(made.source, provenance.source) || isSame(made.place, provenance.place);
  if (!isOfSameSource) return "was made of another source";
  return IsReadOnly(order.output) ? "is out of date, but read-only" : nullptr;
}

// Whether a book that is there would come out the same; throws a Failure when it would not, but
// must not be replaced.
bool IsUpToDate(const BookOrder& order, const Provenance& provenance) {
  const std::optional<BookMark> mark = ReadMark(order.output);
  const bool isSame = mark && !mark->isEdited && IsAllKnown(order) &&
                      mark->provenance.source == provenance.source &&
                      mark->provenance.options == provenance.options;
  if (isSame) return true;
  if (const char* reason = ReasonToKeep(order, mark, provenance)) {
    throw Failure(order.output, std::string(reason) + "; use --force to replace it");
  }
  return false;
}

void MakeDirectoryOf(const BookOrder& order) {
  std::error_code error;
  fs::create_directories(order.output.parent_path(), error);
  if (error) {
    throw Failure(
        order.output,
        "its directory cannot be made (" + error.message() + "); use -o to name another place",
        Cause::kDisk);
  }
}

// What would be made, as far as that can be told beforehand.
Outcome Foresee(const BookOrder& order, const BookOptions& options, const Workshop& workshop,
                Progress& progress) {
  Outcome planned{Outcome::Status::kPlanned, {}};
  if (!IsForReaders(order, options)) return planned;
  try {
    Conversion found = ExamineBook(order, options, workshop, progress);
    planned.message = std::move(found.remark);
    planned.warnings = std::move(found.warnings);
    planned.report = std::move(found.report);
  } catch (const Unsupported&) {
    planned.report.reset();
  }
  return planned;
}

// Tells the provenance as soon as it is known. Throws a Failure or Interrupted.
Outcome MakeOrThrow(const BookOrder& order, const Making& making, Progress& progress,
                    Provenance& provenance) {
  const auto& [options, workshop, existing] = making;
  using Status = Outcome::Status;
  StopIfInterrupted();
  if (!order.refusal.empty()) throw Failure(order.refusal, order.refusalCause);
  std::error_code error;
  const bool isThere = order.output != kStandardStream && fs::exists(order.output, error);
  if (isThere) RequireOtherThanSource(order);
  const bool isInTheWay = isThere && !options.force;
  if (isInTheWay && existing == Existing::kRefuse) {
    throw Failure(order.output, "exists already; use --force to replace it or -o to name another");
  }
  if (options.dryRun && !isInTheWay) return Foresee(order, options, workshop, progress);

  provenance = ProvenanceOf(order, options);
  if (existing == Existing::kRefuse) provenance.place.clear();
  if (isInTheWay && IsUpToDate(order, provenance)) return {Status::kUpToDate, {}};
  if (options.dryRun) return Foresee(order, options, workshop, progress);
  if (order.isInDirectory) MakeDirectoryOf(order);
  Conversion made = ConvertBook(order, options, workshop, provenance, progress);
  return {
      Status::kDone, std::move(made.remark), {}, std::move(made.warnings), std::move(made.report)};
}

Outcome MakeOrTell(const BookOrder& order, const Making& making, Progress& progress,
                   Provenance& provenance) {
  try {
    return MakeOrThrow(order, making, progress, provenance);
  } catch (const Interrupted& interruption) {
    return {Outcome::Status::kInterrupted, interruption.what()};
  } catch (const std::exception& failure) {
    return {Outcome::Status::kFailed, Explain(failure), CauseOf(failure)};
  }
}

Outcome Make(const BookOrder& order, const Making& making, Progress& progress) {
  Provenance provenance;
  Outcome outcome = MakeOrTell(order, making, progress, provenance);
  outcome.source = std::move(provenance.source);
  outcome.bytesIn = provenance.bytes;
  return outcome;
}

// Starts a thread if the system has one left.
bool Start(std::vector<std::jthread>& threads, const auto& work) {
  try {
    threads.emplace_back(work);
    return true;
  } catch (const std::system_error&) {
    return false;
  }
}

}  // namespace

void MakeBooks(const std::vector<BookOrder>& orders, const Making& making, unsigned jobs,
               Reporter& reporter) {
  std::atomic<size_t> next = 0;
  std::mutex reporting;
  // Once interrupted, what is left comes to its end as soon as it begins, and is reported like
  // that.
  const auto work = [&] {
    for (size_t i = next++; i < orders.size(); i = next++) {
      const auto start = std::chrono::steady_clock::now();
      std::unique_ptr<Progress> progress;
      {
        const std::scoped_lock lock(reporting);
        progress = reporter.NewProgress(orders[i]);
      }
      Outcome outcome = Make(orders[i], making, *progress);
      outcome.seconds =
          std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
      const std::scoped_lock lock(reporting);
      progress.reset();
      reporter.Finished(orders[i], outcome);
    }
  };
  std::vector<std::jthread> threads;
  const size_t wanted = std::min<size_t>(jobs, orders.size());
  while (threads.size() + 1 < wanted && Start(threads, work)) continue;
  work();
}
