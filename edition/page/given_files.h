// The files that pages show or use, on their way into the book.
#ifndef KAVEPUB_PAGE_GIVEN_FILES_H
#define KAVEPUB_PAGE_GIVEN_FILES_H

#include <string>
#include <unordered_map>

#include "edition/book/sink.h"

// Gives them to the sink until one of them fails. A name in the book is empty where there is no
// file.
class GivenFiles {
 public:
  explicit GivenFiles(BookSink& target) : sink(target) {}

  std::string Give(Resource resource);
  // Of files that hold the same, the first.
  std::string GiveOnce(Resource resource);
  // The same for a style sheet, which may be empty.
  std::string GiveSheet(std::string css, std::string name);

  // A picture as a data URI, for drawings; empty for what is no JPEG or PNG, and for all when there
  // are too many.
  std::string Embed(Resource picture);
  bool MayEmbed() const { return embedded < kMostEmbedded; }

  // Of what pages show, too, that cannot be read.
  void Fail(const Failure& why);
  // How it went so far: the names, or the first failure.
  template <typename Names>
  Result<Names> Outcome(Names given) const {
    if (!failure) return failure.Why();
    return given;
  }

 private:
  static constexpr size_t kMostEmbedded = size_t{1} << 25;  // in bytes

  BookSink& sink;
  size_t embedded = 0;
  Status failure = Done();
  std::unordered_map<std::string, std::string> names;  // by what they hold
};

#endif
