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

  // Copies a packed book there, and adds the mark of what it was made of. Throws a Failure, or
  // Interrupted.
  void Take(const std::filesystem::path& packed, const Provenance& provenance);

 private:
  const std::filesystem::path& path;
  AtomicOutput output;
};

#endif
