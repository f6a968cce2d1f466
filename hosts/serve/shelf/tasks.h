// Things to be done one after the other, on threads that begin with the first of them.
#ifndef KAVEPUB_SERVE_TASKS_H
#define KAVEPUB_SERVE_TASKS_H

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

class Tasks {
 public:
  explicit Tasks(size_t most) : mostThreads(most) {}
  Tasks(const Tasks&) = delete;
  Tasks& operator=(const Tasks&) = delete;

  // A task throws nothing. What has not begun when this goes is dropped.
  void Add(std::function<void()> task);

 private:
  void Work(const std::stop_token& stop);

  const size_t mostThreads;
  std::mutex mutex;
  std::condition_variable_any added;
  std::deque<std::function<void()>> waiting;
  size_t idle = 0;
  std::vector<std::jthread> threads;  // the last member: they end first
};

#endif
