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

  // Of what pages show, too, that cannot be read.
  void Fail(const Failure& why);
  // How it went so far: the names, or the first failure.
  template <typename Names>
  Result<Names> Outcome(Names given) const {
    if (!failure) return failure.Why();
    return given;
  }

 private:
  BookSink& sink;
  Status failure = Done();
  std::unordered_map<std::string, std::string> names;  // by what they hold
};

#endif
