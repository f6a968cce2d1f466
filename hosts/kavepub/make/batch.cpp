// Hands orders to threads and outcomes to the reporter.
#include "hosts/kavepub/make/batch.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <exception>
#include <filesystem>
#include <mutex>
#include <string>
#include <system_error>
#include <thread>

#include "hosts/kavepub/console/failure.h"
#include "hosts/kavepub/console/interruption.h"
#include "hosts/kavepub/inspect/book_info.h"
#include "hosts/kavepub/make/convert.h"

namespace {

namespace fs = std::filesystem;

// The time of the last change of any source of a book.
fs::file_time_type TimeOfSources(const BookOrder& order) {
  fs::file_time_type latest = fs::file_time_type::min();
  for (const fs::path& input : order.inputs) latest = std::max(latest, fs::last_write_time(input));
  if (order.site.empty()) return latest;
  // A page that is gone shows in the time of its directory.
  latest = std::max(latest, fs::last_write_time(order.site));
  std::error_code error;
  for (fs::recursive_directory_iterator entry(order.site, error), end; !error && entry != end;
       entry.increment(error)) {
    const fs::file_time_type changed = entry->last_write_time(error);
    if (!error) latest = std::max(latest, changed);
    error.clear();  // a link that leads nowhere is no source
  }
  return latest;
}

// Whether the book is there already and may stay; throws a Failure when it may not be replaced.
bool IsUpToDate(const BookOrder& order, const BookOptions& options, Existing existing) {
  std::error_code error;
  if (!fs::exists(order.output, error)) return false;
  for (const fs::path& input : order.inputs) {
    if (fs::equivalent(input, order.output, error)) {
      throw Failure(order.output, "is the source of this book; use -o to name another place");
    }
  }
  if (options.force) return false;
  if (existing == Existing::kKeepIfNewer && IsMadeByKavepub(order.output)) {
    return TimeOfSources(order) <= fs::last_write_time(order.output);
  }
  throw Failure(order.output,
                existing == Existing::kRefuse
                    ? "exists already; use --force to replace it or -o to name another"
                    : "exists already and is not a book of this tool; use --force to "
                      "replace it");
}

// A batch makes the directories it needs; of a single book a missing one is more likely a slip.
void RequireDirectoryOf(const fs::path& output, const BookOptions& options, Existing existing) {
  if (!output.has_parent_path()) return;
  std::error_code error;
  if (existing == Existing::kKeepIfNewer) {
    if (!options.dryRun) fs::create_directories(output.parent_path(), error);
    if (error) {
      throw Failure(output, "its directory cannot be made (" + error.message() +
                                "); use -o to name another place");
    }
  } else if (!fs::is_directory(output.parent_path(), error)) {
    throw Failure(output, "its directory does not exist; make it first");
  }
}

Outcome Make(const BookOrder& order, const BookOptions& options, Existing existing,
             Progress& progress) {
  using Status = Outcome::Status;
  try {
    StopIfInterrupted();
    if (!order.refusal.empty()) throw Failure(order.refusal);
    if (IsUpToDate(order, options, existing)) return {Status::kUpToDate, {}};
    RequireDirectoryOf(order.output, options, existing);
    if (options.dryRun) return {Status::kPlanned, {}};
    return {Status::kDone, ConvertBook(order, options, progress)};
  } catch (const Interrupted& interruption) {
    return {Status::kInterrupted, interruption.what()};
  } catch (const std::exception& failure) {
    return {Status::kFailed, Explain(failure)};
  }
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

void MakeBooks(const std::vector<BookOrder>& orders, const BookOptions& options, Existing existing,
               unsigned jobs, Reporter& reporter) {
  std::atomic<size_t> next = 0;
  std::mutex reporting;
  const auto work = [&] {
    for (size_t i = next++; i < orders.size() && !WasInterrupted(); i = next++) {
      const auto start = std::chrono::steady_clock::now();
      std::unique_ptr<Progress> progress;
      {
        const std::scoped_lock lock(reporting);
        progress = reporter.NewProgress(orders[i]);
      }
      Outcome outcome = Make(orders[i], options, existing, *progress);
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
