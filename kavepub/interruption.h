// Ctrl-C and SIGTERM, as a question that a conversion asks now and then.
#ifndef KAVEPUB_INTERRUPTION_H
#define KAVEPUB_INTERRUPTION_H

// From here on the first such signal asks the conversion to stop; the second ends the program.
void CatchInterruptions();

bool WasInterrupted();

// Throws Interrupted when the conversion is asked to stop.
void StopIfInterrupted();

#endif
