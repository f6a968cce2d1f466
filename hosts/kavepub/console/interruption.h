// Ctrl-C and SIGTERM, as a question that a conversion asks now and then.
#ifndef KAVEPUB_INTERRUPTION_H
#define KAVEPUB_INTERRUPTION_H

// From here on such signals ask the conversion to stop, however many come: programs that end others
// send two. A closed pipe is no signal, but a write that fails. Ctrl-\ still ends at once.
void CatchInterruptions();

// As if such a signal had come.
void Interrupt();

bool WasInterrupted();

// Throws Interrupted when the conversion is asked to stop.
void StopIfInterrupted();

#endif
