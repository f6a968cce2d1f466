// Cuts off connections whose time is over.
#include "hosts/serve/http/patience.h"

#include <sys/socket.h>

#include <algorithm>

namespace {

constexpr std::uint64_t kLeastBytesPerSecond = 4096;

}  // namespace

Patience::Turn::Turn(Patience& of, int connected) : patience(of), socket(connected) {
  const std::scoped_lock lock(patience.mutex);
  patience.turns.insert(this);
}

Patience::Turn::~Turn() {
  const std::scoped_lock lock(patience.mutex);
  patience.turns.erase(this);
}

void Patience::Turn::Begin() {
  const std::scoped_lock lock(patience.mutex);
  end = Clock::now() + patience.grace;
  if (end < patience.next) patience.changed.notify_one();
}

void Patience::Turn::Stop() {
  const std::scoped_lock lock(patience.mutex);
  end = Clock::time_point::max();
}

void Patience::Turn::Earn(std::uint64_t bytes) {
  constexpr std::uint64_t kMilliseconds = 1000;
  const std::scoped_lock lock(patience.mutex);
  if (end == Clock::time_point::max()) return;
  end += std::chrono::milliseconds(bytes * kMilliseconds / kLeastBytesPerSecond);
}

Patience::Patience(std::chrono::milliseconds each)
    : grace(each), watcher([this](const std::stop_token& stop) { Watch(stop); }) {}

void Patience::Watch(const std::stop_token& stop) {
  std::unique_lock lock(mutex);
  while (!stop.stop_requested()) {
    const auto now = Clock::now();
    next = Clock::time_point::max();
    for (Turn* turn : turns) {
      if (turn->end <= now) {
        shutdown(turn->socket, SHUT_RDWR);
        turn->end = Clock::time_point::max();
      }
      next = std::min(next, turn->end);
    }
    // An end that moves away is looked at when it would have been, one that comes nearer at once.
    const auto seen = next;
    const auto isNearer = [&] {
      return std::any_of(turns.begin(), turns.end(),
                         [&](const Turn* turn) { return turn->end < seen; });
    };
    if (next == Clock::time_point::max()) {
      changed.wait(lock, stop, isNearer);
    } else {
      changed.wait_until(lock, stop, next, isNearer);
    }
  }
}
