// System calls and allocations that fail on demand, also those made inside other libraries: the
// loader finds these functions before those of the C library.
#ifndef KAV_EPUB_TESTS_INTERPOSED_H
#define KAV_EPUB_TESTS_INTERPOSED_H

// What is to fail; set by the test, kept by the functions. Without objects, as memory asks it.
struct Faults {
  const char* call;       // the name of the call that is to fail, one of kCalls
  long failing;           // which one of these calls, counted from 1; 0: none
  bool persists;          // all later ones fail, too
  long long room;         // bytes that can still be written; negative: any number
  const char* fullBelow;  // only files below this directory run out of room
  long patience;          // microseconds of work for a function whose call has failed
  bool armed;             // counts and fails only then

  long calls;          // of that name, since armed
  long blocks;         // allocated since armed and not yet freed
  const char* inside;  // the function of another library that is running, of those that are watched
  const char* hit;     // the one in which a call failed; null: in none
};
extern Faults faults;

// What can happen: calls that fail, and what the test does itself.
extern const char* const kFaults[20];

#endif
