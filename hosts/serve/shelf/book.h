// A book on the shelf: from the files that were sent to the one that can be fetched.
#ifndef KAVEPUB_SERVE_BOOK_H
#define KAVEPUB_SERVE_BOOK_H

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "hosts/kavepub/plan/book_order.h"
#include "hosts/kavepub/work/conversion.h"

struct Book {
  enum class State { kWaiting, kConverting, kDone, kFailed, kCancelled };
  using Seconds = std::chrono::sys_seconds;

  static Seconds Now() {
    return std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
  }

  std::string id;
  std::string session;  // whose it is
  std::string upload;   // what it is made of
  BookOrder order;
  bool isBatch = false;
  EditionOptions options;  // as they were asked for
  std::string cover;       // the file of one that was sent, below the directory of the store

  State state = State::kWaiting;
  double progress = 0;
  std::chrono::steady_clock::time_point begun;  // with the conversion
  std::chrono::steady_clock::time_point told;   // to those who listen
  std::string found;  // of what was made, as members of an object of JSON: many chapters take
                      // much less as text
  Cause cause = Cause::kBook;
  std::string error;  // of a failure

  unsigned made = 0;       // how many times; each has its own file
  std::uint64_t size = 0;  // of the last one; 0 where there is none
  std::uint32_t crc = 0;
  Seconds created;
  std::optional<Seconds> expires;  // unless it is being made

  bool isUnwanted = false;   // its conversion is to stop
  bool isForgotten = false;  // and then it is to go

  bool IsPending() const { return state == State::kWaiting || state == State::kConverting; }

  // What people call it: the file or folder that was sent, and the book of it.
  std::string Name(const std::filesystem::path& place) const;
  std::string FileName() const { return order.output.filename(); }

  void Keep(const Conversion& conversion);
};

// What the interface tells of it, as JSON. `place` is where its files lie; `position` is that in
// the queue.
std::string Told(const Book& book, const std::filesystem::path& place,
                 std::optional<size_t> position);

// What is kept of a book that was made, and the book of that. Throws a nlohmann::json::exception.
nlohmann::ordered_json RecordOf(const Book& book, const std::filesystem::path& place);
Book BookOf(const nlohmann::ordered_json& record, const std::filesystem::path& place);

#endif
