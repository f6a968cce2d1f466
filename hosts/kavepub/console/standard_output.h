// Standard output, which may be closed, full, or a pipe that nobody reads any more.
#ifndef KAVEPUB_STANDARD_OUTPUT_H
#define KAVEPUB_STANDARD_OUTPUT_H

#include <string>

// Makes sure that no file that is opened later takes the place of a closed standard stream, and
// gets its text. To be called first of all.
void GuardStandardStreams();

// Writes a line, at once. When its reader has gone, the call is interrupted: nobody waits for it.
void Say(const std::string& line);

// Writes what consists of lines, or of names that end with NUL bytes.
void SayAsIs(const std::string& bytes);

// False when something that was said got lost; says so on standard error, unless the reader went.
bool AllWasSaid();

#endif
