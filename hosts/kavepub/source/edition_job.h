// The library of the reader's edition, as the tool uses it: a job for each book.
#ifndef KAVEPUB_EDITION_JOB_H
#define KAVEPUB_EDITION_JOB_H

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "edition/kavepub.h"
#include "hosts/kavepub/console/failure.h"

// Options by the library's names, in the order given.
using EditionOptions = std::vector<std::pair<std::string, std::string>>;

// All that the library takes.
std::vector<kavepub_option> KnownEditionOptions();

// The file that the value of an option names; empty when it names none, like "auto".
std::filesystem::path FileOf(const std::string& option, const std::string& value);

// Whether the library makes books of a kind of input, whatever the case of its name.
bool EditionReads(const char* kind);

// Something that a reader of the book may miss.
struct BookWarning {
  std::string place;  // the input and the place in it, as far as they are known
  std::string message;

  std::string Text() const { return place.empty() ? message : place + ": " + message; }
};

struct BookReport {
  struct Chapter {
    std::string title;
    unsigned level;      // 1 is the highest
    std::uint64_t line;  // of a text; else 0
  };

  std::vector<std::pair<std::string, std::string>> facts;  // by the library's names
  std::vector<Chapter> chapters;
  std::vector<BookWarning> warnings;

  // Empty when it is not known.
  std::string Fact(std::string_view name) const;
};

// What the library makes no book of.
class Unsupported : public Failure {
 public:
  using Failure::Failure;
};

// Throws what a code of the library stands for, with its words: WrongUsage, Unsupported,
// Interrupted or a Failure.
void RequireEdition(int code, std::string words, const char* advice = "");

class EditionJob {
 public:
  using Taker = std::function<bool(std::string_view)>;  // false when it cannot take the bytes
  using Listener = std::function<void(double)>;         // hears how much is done, from 0 to 1

  // Throws WrongUsage for a value that an option cannot have.
  explicit EditionJob(const EditionOptions& options);

  void Add(const std::filesystem::path& input);
  // What came by the standard input, which lives as long as the job, under a name for the book.
  void AddStandardInput(const std::string& name, std::string_view bytes);

  // Makes the book, or only tells of it. They throw a Failure, Unsupported or Interrupted.
  BookReport Run(const Taker& taker, const Listener& listener);
  BookReport Examine(const Listener& listener);

 private:
  struct FreeJob {
    void operator()(kavepub_job* owned) const { kavepub_job_free(owned); }
  };

  void Require(int code, const char* advice = "") const;
  void Listen(const Listener& listener);
  BookReport Report() const;
  std::string AsNamed(std::string text) const;

  std::unique_ptr<kavepub_job, FreeJob> job;
  std::string nameOfStandardInput;  // in the job
};

#endif
