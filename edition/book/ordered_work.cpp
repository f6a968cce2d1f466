// Does tasks on several threads while their outcomes are taken in order.
#include "edition/book/ordered_work.h"

#include <system_error>
#include <utility>

#include "base/signals_blocked.h"

OrderedWork::~OrderedWork() {
  // All at once; each is then waited for.
  for (std::jthread& worker : workers) worker.request_stop();
}

void OrderedWork::Add(Task task) {
  auto entry = std::make_unique<Entry>();
  entry->task = std::move(task);
  std::unique_lock lock(mutex);
  waiting.push_back(entry.get());
  entries.push_back(std::move(entry));
  // The first one is for the thread that calls.
  const bool isMore = waiting.size() > workers.size() + 1;
  lock.unlock();
  if (isMore && !hasAllWorkers) AddWorker();
  added.notify_one();
}

void OrderedWork::AddWorker() {
  hasAllWorkers = workers.size() + 1 >= threads;
  if (hasAllWorkers) return;
  const SignalsBlocked inherited;
  try {
    workers.emplace_back([this](const std::stop_token& stop) { Work(stop); });
  } catch (const std::system_error&) {  // no more threads
    hasAllWorkers = true;
  }
}

Status OrderedWork::TakeOldest() {
  std::unique_lock lock(mutex);
  while (!entries.front()->isDone) {
    if (waiting.empty()) {
      done.wait(lock);
    } else {
      DoOne(lock);
    }
  }
  const std::unique_ptr<Entry> oldest = std::move(entries.front());
  entries.pop_front();
  if (oldest->thrown) std::rethrow_exception(oldest->thrown);
  return std::move(oldest->outcome);
}

void OrderedWork::Work(const std::stop_token& stop) {
  std::unique_lock lock(mutex);
  while (added.wait(lock, stop, [this] { return !waiting.empty(); })) {
    if (stop.stop_requested()) break;
    DoOne(lock);
  }
}

// The lock is held before and after.
void OrderedWork::DoOne(std::unique_lock<std::mutex>& lock) {
  Entry& entry = *waiting.front();
  waiting.pop_front();
  lock.unlock();
  try {
    entry.outcome = entry.task();
  } catch (...) {
    entry.thrown = std::current_exception();
  }
  entry.task = nullptr;
  lock.lock();
  entry.isDone = true;
  done.notify_one();
}
