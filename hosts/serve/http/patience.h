// How long clients may take: a connection that is too slow is cut off.
#ifndef KAVEPUB_SERVE_PATIENCE_H
#define KAVEPUB_SERVE_PATIENCE_H

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <set>
#include <thread>

// A client has a grace for its request and another one for the answer, and each byte buys it more
// time: it is not enough to send one now and then. Looks at the clock only when a time is over.
class Patience {
 public:
  using Clock = std::chrono::steady_clock;

  explicit Patience(std::chrono::milliseconds grace);
  Patience(const Patience&) = delete;
  Patience& operator=(const Patience&) = delete;

  class Turn {
   public:
    Turn(Patience& of, int socket);
    ~Turn();
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

    // It is the client's turn from now on, or ours, which may take any time.
    void Begin();
    void Stop();

    // So many bytes have come, or are to be fetched.
    void Earn(std::uint64_t bytes);

   private:
    friend class Patience;

    Patience& patience;
    int socket;
    Clock::time_point end = Clock::time_point::max();
  };

 private:
  void Watch(const std::stop_token& stop);

  const std::chrono::milliseconds grace;
  std::mutex mutex;
  std::condition_variable_any changed;
  std::set<Turn*> turns;
  Clock::time_point next = Clock::time_point::max();  // when it is to be looked again
  std::jthread watcher;                               // the last member: it ends first
};

#endif
