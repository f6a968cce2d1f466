// From the files that were sent to the books that they become.
#ifndef KAVEPUB_SERVE_INTAKE_H
#define KAVEPUB_SERVE_INTAKE_H

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "hosts/kavepub/make/workshop.h"
#include "hosts/kavepub/plan/book_order.h"

struct Intake {
  // Named as the tool would that is called where the files lie, with outputs beside them.
  std::vector<BookOrder> orders;
  bool isBatch = false;  // as the tool has it: not one file that was named
};

// Sorts the files of a directory into books as the tool does, when it is given all that lies in
// there: in that order the files and folders whose names are given. What goes with a page is no
// book of its own. ZIP files are unpacked, in cells, into at most so many bytes, and are then
// folders. Throws a Failure, NotWritten, or Interrupted.
Intake TakeIn(const std::filesystem::path& directory, std::vector<std::string> names,
              const Workshop& workshop, std::uint64_t room);

// A message without the directory of the files that it is about, which is nobody's business.
std::string WithoutPlace(std::string text, const std::filesystem::path& directory);

#endif
