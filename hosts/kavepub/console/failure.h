// Failures as a person reads them: which file, what is wrong, what to do.
#ifndef KAVEPUB_FAILURE_H
#define KAVEPUB_FAILURE_H

#include <exception>
#include <filesystem>
#include <stdexcept>
#include <string>

// What messages call the standard input.
inline constexpr char kStandardInput[] = "standard input";

// What a failure is due to: the book itself, which fails again wherever it is made, or where it was
// made, which is worth another try.
enum class Cause { kBook, kMachine, kDisk, kMemory };

inline const char* NameOf(Cause cause) {
  constexpr const char* kNames[] = {"book", "machine", "disk", "memory"};
  return kNames[static_cast<size_t>(cause)];
}

// One line that names the file, the reason and the next step.
class Failure : public std::runtime_error {
 public:
  explicit Failure(const std::string& line, Cause due = Cause::kBook);
  Failure(const std::filesystem::path& file, const std::string& why, Cause due = Cause::kBook);

  // Without the file.
  const std::string& Reason() const { return reason; }

  Cause DueTo() const { return cause; }

 private:
  std::string reason;
  Cause cause;
};

// What is asked for contradicts itself.
class WrongUsage : public Failure {
 public:
  using Failure::Failure;
};

// The conversion was stopped by a signal.
class Interrupted : public std::runtime_error {
 public:
  Interrupted() : std::runtime_error("interrupted; nothing was written") {}
};

// Throws a Failure for a result code other than EPUB_OK. The working files are below workPlace.
void Require(int code, const std::filesystem::path& file, const std::filesystem::path& workPlace);

// Throws a Failure unless file is a regular file that can be read.
void RequireReadable(const std::filesystem::path& file);

// What to tell of any exception, in one line.
std::string Explain(const std::exception& failure);

// What any exception is due to.
Cause CauseOf(const std::exception& failure);

// A text on one line: what would move the cursor of a terminal becomes "?".
std::string OneLine(std::string text);

#endif
