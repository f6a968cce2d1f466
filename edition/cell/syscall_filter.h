// The calls that a cell may make of the system, as a seccomp filter.
#ifndef KAVEPUB_CELL_SYSCALL_FILTER_H
#define KAVEPUB_CELL_SYSCALL_FILTER_H

#include <linux/filter.h>

#include <vector>

// Whether the kernel has filters that end a process.
bool HasSyscallFilters();

// What a cell does that makes a book ends well; what only an intruder does ends the cell; of all
// else the system seems not to know. Without `writesFiles` no file can be opened for writing. Empty
// when it cannot be made.
std::vector<sock_filter> MakeSyscallFilter(bool writesFiles);

// Puts it over this thread and those it starts. False when that is not possible.
bool FilterSyscalls(const std::vector<sock_filter>& filter);

#endif
