// The standard input as an input.
#ifndef KAVEPUB_STANDARD_INPUT_H
#define KAVEPUB_STANDARD_INPUT_H

#include <string>

// Waits until something can be read from it, or it ends. Throws Interrupted.
void WaitForStandardInput();

// Reads all of it. Throws a Failure, or Interrupted while nothing comes.
std::string ReadStandardInput();

#endif
