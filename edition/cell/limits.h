// Limits on what a process takes, set by itself and for good.
#ifndef KAVEPUB_CELL_LIMITS_H
#define KAVEPUB_CELL_LIMITS_H

#include "edition/cell/rules.h"

// False when one of them cannot be set.
bool LimitProcess(const CellRules& rules);

// When the system runs out of memory, it ends this process before others.
void OfferForMemory();

#endif
