// The place where a finished book goes.
#ifndef KAVEPUB_BOOK_OUTPUT_H
#define KAVEPUB_BOOK_OUTPUT_H

#include <filesystem>

#include "base/atomic_output.h"
#include "hosts/kavepub/make/provenance.h"

// A book appears there whole or not at all, unless "-" says that it goes to the standard output.
class BookOutput {
 public:
  // Throws a Failure when no book can be made there, before anything is made in vain.
  explicit BookOutput(const std::filesystem::path& place);

  // Where its bytes are to be written.
  int Descriptor() const;

  // Marks a book that was written with what it was made of, and lets it appear. One on the standard
  // output has no mark: nobody knows to which place it goes. Throws a Failure.
  void Finish(const Provenance& provenance);

  // Throws the Failure for what could not be written, by the system's error.
  [[noreturn]] void Fail(int error) const;

 private:
  bool IsStandardOutput() const;
  void Commit();

  const std::filesystem::path& path;
  AtomicOutput output;
};

#endif
