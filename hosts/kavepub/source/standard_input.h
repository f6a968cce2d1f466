// The standard input as a file.
#ifndef KAVEPUB_STANDARD_INPUT_H
#define KAVEPUB_STANDARD_INPUT_H

#include <filesystem>

// Copies all of it to a new file. Throws a Failure, or Interrupted while nothing comes.
void SaveStandardInput(const std::filesystem::path& target);

#endif
