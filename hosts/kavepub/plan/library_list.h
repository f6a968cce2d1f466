// The names of all books that a library of many folders would become.
#ifndef KAVEPUB_LIBRARY_LIST_H
#define KAVEPUB_LIBRARY_LIST_H

#include <filesystem>
#include <string>
#include <vector>

// The names below a folder of all that PlanBooks would make books of, or refuse, when it was given
// the folder; the largest inputs first, so that no machine begins with one when the others are at
// their end. Throws a Failure, or Interrupted.
std::vector<std::string> NamesOfLibrary(const std::filesystem::path& folder);

#endif
