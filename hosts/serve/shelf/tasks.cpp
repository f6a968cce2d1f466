// Runs tasks.
#include "hosts/serve/shelf/tasks.h"

#include <system_error>
#include <utility>

void Tasks::Add(std::function<void()> task) {
  const std::scoped_lock lock(mutex);
  waiting.push_back(std::move(task));
  if (waiting.size() > idle && threads.size() < mostThreads) {
    try {
      threads.emplace_back([this](const std::stop_token& stop) { Work(stop); });
    } catch (const std::system_error&) {
      if (threads.empty()) throw;  // else those that are there do it
    }
  }
  added.notify_one();
}

void Tasks::Work(const std::stop_token& stop) {
  std::unique_lock lock(mutex);
  for (;;) {
    ++idle;
    const bool isThere = added.wait(lock, stop, [this] { return !waiting.empty(); });
    --idle;
    if (!isThere || stop.stop_requested()) return;
    const std::function<void()> task = std::move(waiting.front());
    waiting.pop_front();
    lock.unlock();
    task();
    lock.lock();
  }
}
