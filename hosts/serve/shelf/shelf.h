// All books of all sessions, and their making.
#ifndef KAVEPUB_SERVE_SHELF_H
#define KAVEPUB_SERVE_SHELF_H

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "base/unique_fd.h"
#include "hosts/kavepub/make/workshop.h"
#include "hosts/serve/shelf/book.h"
#include "hosts/serve/shelf/intake.h"
#include "hosts/serve/shelf/store.h"
#include "hosts/serve/shelf/tasks.h"
#include "hosts/serve/shelf/upload.h"

struct ShelfLimits {
  std::uint64_t upload = std::uint64_t{512} << 20;  // bytes of a request
  size_t booksOfSession = 250;
  size_t books = 2000;
  size_t waiting = 1000;
  std::chrono::hours keep{24};
};

// Hears of the books of a session, or of one.
struct Listener {
  std::string session;
  std::string book;  // or empty
  std::function<void()> wake;

  std::deque<std::string> changed = {};  // ids, each once
  std::deque<std::string> gone = {};
  bool isBeating = false;
  bool isOver = false;  // nothing follows what is there
};

// A book that was made.
struct Finished {
  std::string name;
  std::filesystem::path file;
  std::uint64_t size = 0;
  std::uint32_t crc = 0;
};

// All functions can be called by any thread; JSON is told as text. What is not of the session is
// not there. They throw a Refused.
class Shelf {
 public:
  Shelf(Store& store, const Workshop& workshop, const ShelfLimits& limits, unsigned jobs);
  Shelf(const Shelf&) = delete;
  Shelf& operator=(const Shelf&) = delete;
  // Waits for what is being made, which is to be interrupted before.
  ~Shelf();

  const ShelfLimits& Limits() const { return limits; }

  // Whether a session may send anything now.
  void Admit(const std::string& session);

  // Puts up the books that an upload becomes, and tells them.
  std::string Add(const std::string& session, Upload& upload, Intake intake,
                  EditionOptions options);

  std::string Describe(const std::string& session, const std::string& id);
  std::string DescribeAll(const std::string& session);
  std::string UploadOf(const std::string& session, const std::string& id);

  // Makes it again, with other options. A cover that was sent belongs to its upload then.
  std::string Convert(const std::string& session, const std::string& id, EditionOptions options,
                      Upload* cover);
  std::string Cancel(const std::string& session, const std::string& id);
  void Forget(const std::string& session, const std::string& id);
  void ForgetAll(const std::string& session);

  Finished FindFinished(const std::string& session, const std::string& id);
  std::vector<Finished> FindAllFinished(const std::string& session);

  // Beginning with how all is now. To be ended.
  std::shared_ptr<Listener> Listen(const std::string& session, const std::string& id,
                                   std::function<void()> wake);
  void Leave(const std::shared_ptr<Listener>& listener);

  // The next event as server-sent events have it; empty when there is none yet, nothing when there
  // is none any more.
  std::optional<std::string> NextEvent(Listener& listener);

  const Workshop& Cells() const { return workshop; }
  Store& Files() { return store; }

 private:
  class Follower;
  using Shared = std::shared_ptr<Book>;
  struct Sent {
    size_t books = 0;
    std::uint64_t bytes = 0;
  };

  void RequireRoom(const std::string& session, size_t added) const;
  Shared Find(const std::string& session, const std::string& id) const;
  std::string Told(const Book& book) const;
  std::string Told(const std::vector<Shared>& several) const;
  void Tell(Book& book);
  void TellPositions();
  void Enqueue(const Shared& book);
  void MakeNext();
  Conversion Make(Book& draft, Progress& progress) const;
  std::string WithoutPlaces(std::string text, const Book& book) const;
  void Settle(Book& book);
  void Drop(const Shared& book);
  void Remove(const Book& book);
  void WatchTime(const std::stop_token& stop);

  Store& store;
  const Workshop& workshop;
  const ShelfLimits limits;
  const bool isAlone;
  mutable std::mutex mutex;
  std::vector<Shared> books;  // oldest first
  std::deque<Shared> queue;
  std::map<std::string, Sent> uploads;
  std::vector<std::shared_ptr<Listener>> listeners;
  std::condition_variable_any expiring;
  Tasks tasks;
  std::jthread clock;  // the last member: it ends first
};

#endif
