// Hands events of the shelf to a connection.
#include "hosts/serve/server/events.h"

#include <algorithm>
#include <mutex>
#include <utility>

namespace {

class Events : public Source {
 public:
  Events(Shelf& of, const std::string& session, const std::string& id) : shelf(of) {
    listener = shelf.Listen(session, id, [call = called] { call->Ring(); });
  }
  Events(const Events&) = delete;
  Events& operator=(const Events&) = delete;
  ~Events() override { shelf.Leave(listener); }

  void Begin(Wake wake) override { called->Give(std::move(wake)); }

  ssize_t Read(char* buffer, size_t capacity) override {
    if (left.empty()) {
      auto event = shelf.NextEvent(*listener);
      if (!event) return kEnd;
      left = *std::move(event);
    }
    const size_t size = std::min(capacity, left.size());
    left.copy(buffer, size);
    left.erase(0, size);
    return static_cast<ssize_t>(size);
  }

 private:
  // The bell of a connection that there is only after the listening has begun.
  class Bell {
   public:
    void Give(Wake given) {
      const std::scoped_lock lock(mutex);
      wake = std::move(given);
    }
    void Ring() {
      const std::scoped_lock lock(mutex);
      if (wake) wake();
    }

   private:
    std::mutex mutex;
    Wake wake;
  };

  Shelf& shelf;
  std::shared_ptr<Bell> called = std::make_shared<Bell>();
  std::shared_ptr<Listener> listener;
  std::string left;
};

}  // namespace

std::unique_ptr<Source> EventsOf(Shelf& shelf, const std::string& session, const std::string& id) {
  return std::make_unique<Events>(shelf, session, id);
}
