// What became of a cell that did not come to its end, in words.
#ifndef KAVEPUB_CELL_FATE_H
#define KAVEPUB_CELL_FATE_H

#include <optional>

#include "edition/book/result.h"
#include "edition/cell/rules.h"
#include "edition/cell/zygote.h"

// Why the host ended a cell.
enum class EndedFor { kNothing, kCancelled, kTime, kNonsense };

// The time that a cell may take by the clock: it may wait for a slow disk, but not for ever.
inline constexpr std::uint64_t kClockSecondsASecond = 4;

// The codes that a cell ends with when it could not be closed, and did nothing, and when memory ran
// out for more than the work.
inline constexpr int kNotClosed = 3;
inline constexpr int kNoMemory = 4;

// Done for a cell that ended by itself. Without an end the zygote has gone.
Status FateOf(const std::optional<CellEnd>& end, EndedFor reason, const CellRules& rules);

#endif
