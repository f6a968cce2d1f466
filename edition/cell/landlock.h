// Landlock: which files a process can open, by a promise to the kernel that it cannot take back.
#ifndef KAVEPUB_CELL_LANDLOCK_H
#define KAVEPUB_CELL_LANDLOCK_H

#include "edition/cell/rules.h"

// The version that the kernel has; 0 when it has none.
int LandlockVersion();

// Beyond files: what versions can do.
inline constexpr int kLandlockOfTcp = 4;
inline constexpr int kLandlockOfSignals = 6;

// Confines this thread, and those it starts, to what the rules name and the places of the system's
// libraries and fonts. False when that is not possible.
bool ConfineFiles(const CellRules& rules, int version);

#endif
