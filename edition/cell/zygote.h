// The process that makes cells of itself: it has read nothing of strangers, and never does.
#ifndef KAVEPUB_CELL_ZYGOTE_H
#define KAVEPUB_CELL_ZYGOTE_H

#include <sys/types.h>

#include <cstdint>
#include <functional>

#include "base/unique_fd.h"

// What became of a cell, as the zygote tells the host.
struct CellEnd {
  int status = 0;  // as of wait()
  std::uint64_t processorMicroseconds = 0;
  std::uint64_t mostMemory = 0;  // bytes
};

// What a new cell gets from the host.
struct CellEnds {
  UniqueFd channel;  // for the request and what comes of it
  UniqueFd link;    // which the zygote keeps: the end goes there; anything that comes ends the cell
  UniqueFd output;  // where the book goes; may be empty
};

// Asks the zygote at the other end for a cell. False when there is none any more.
bool AskForCell(int zygote, const CellEnds& ends);

// Makes this a process of its own in every respect: what a terminal sends to the host is not for
// it, and no signal is handled. But who wants to hear of a limit on files by the error of a write
// still does.
void StandAlone();

// Works off what is asked for until the host has gone; then ends all cells. `prepare` is called
// once, before the second cell; `live` is all that a cell does. Never returns.
[[noreturn]] void RunZygote(UniqueFd host, const std::function<void()>& prepare,
                            const std::function<void(const CellEnds&)>& live);

#endif
