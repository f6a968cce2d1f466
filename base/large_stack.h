// Work that needs more of a stack than the threads of hosts may have.
#ifndef KAV_BASE_LARGE_STACK_H
#define KAV_BASE_LARGE_STACK_H

#include <functional>

// Does it on a thread with a mebibyte, and waits for it. The work throws nothing. False when the
// system has no such thread; then nothing is done.
bool DoOnLargeStack(std::function<void()> work);

#endif
