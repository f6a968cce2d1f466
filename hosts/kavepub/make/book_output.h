// The place where a finished book goes.
#ifndef KAVEPUB_BOOK_OUTPUT_H
#define KAVEPUB_BOOK_OUTPUT_H

#include <filesystem>
#include <string_view>

#include "base/atomic_output.h"
#include "hosts/kavepub/make/provenance.h"

// A book appears there whole or not at all, unless "-" says that it goes to the standard output.
class BookOutput {
 public:
  // Throws a Failure when no book can be made there, before anything is made in vain.
  explicit BookOutput(const std::filesystem::path& place);

  // Copies a packed book there, and adds the mark of what it was made of. Throws a Failure, or
  // Interrupted. A book on the standard output has no mark: nobody knows to which place it goes.
  void Take(const std::filesystem::path& packed, const Provenance& provenance);

  // Writes the next bytes of a book; false when they cannot be written.
  bool Write(std::string_view bytes);

  // Marks a book that was written, and lets it appear. Throws a Failure.
  void Finish(const Provenance& provenance);

  // Throws the Failure for what could not be written.
  [[noreturn]] void Fail() const;

 private:
  bool IsStandardOutput() const;
  void Commit();

  const std::filesystem::path& path;
  AtomicOutput output;
  int error = 0;  // of the system, when something could not be written
};

#endif
