// Does tasks on several threads while their outcomes are taken in order.
#ifndef KAVEPUB_BOOK_ORDERED_WORK_H
#define KAVEPUB_BOOK_ORDERED_WORK_H

#include <condition_variable>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "edition/book/result.h"

class OrderedWork {
 public:
  using Task = std::function<Status()>;

  // The thread that calls is one of them; where the system gives fewer, fewer do the work.
  explicit OrderedWork(unsigned count) : threads(count) {}
  OrderedWork(const OrderedWork&) = delete;
  OrderedWork& operator=(const OrderedWork&) = delete;

  // Waits for the tasks that are being done; those that nobody has begun with are not done.
  ~OrderedWork();

  // What a task uses has to stay.
  void Add(Task task);

  // The outcome of the oldest task that none was taken of; does tasks until it is there. What the
  // task has thrown is thrown.
  Status TakeOldest();

 private:
  struct Entry {
    Task task;
    Status outcome = Done();
    std::exception_ptr thrown;
    bool isDone = false;
  };

  void AddWorker();
  void Work(const std::stop_token& stop);
  void DoOne(std::unique_lock<std::mutex>& lock);

  const unsigned threads;
  std::mutex mutex;
  std::condition_variable_any added;
  std::condition_variable done;
  std::deque<std::unique_ptr<Entry>> entries;  // in order
  std::deque<Entry*> waiting;                  // those that nobody has begun with
  bool hasAllWorkers = false;
  std::vector<std::jthread> workers;  // the last member: they end first
};

#endif
