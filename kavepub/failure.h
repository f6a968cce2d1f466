// Failures as a person reads them: which file, what is wrong, what to do.
#ifndef KAVEPUB_FAILURE_H
#define KAVEPUB_FAILURE_H

#include <filesystem>
#include <stdexcept>
#include <string>

// One line that names the file, the reason and the next step.
class Failure : public std::runtime_error {
 public:
  explicit Failure(const std::string& line) : std::runtime_error(line) {}
  Failure(const std::filesystem::path& file, const std::string& reason)
      : std::runtime_error(file.string() + ": " + reason) {}
};

// The conversion was stopped by a signal.
class Interrupted : public std::runtime_error {
 public:
  Interrupted() : std::runtime_error("interrupted; nothing was written") {}
};

// Throws a Failure for a result code other than EPUB_OK.
void Require(int code, const std::filesystem::path& file);

// Throws a Failure unless file is a regular file that can be read.
void RequireReadable(const std::filesystem::path& file);

#endif
