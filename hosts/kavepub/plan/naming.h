// Finding a place for each book.
#ifndef KAVEPUB_NAMING_H
#define KAVEPUB_NAMING_H

#include <vector>

#include "hosts/kavepub/plan/draft.h"
#include "hosts/kavepub/plan/planning.h"

// Gives each draft its output. Throws WrongUsage when the output that was chosen cannot hold them.
void NameBooks(std::vector<Draft>& drafts, const Selection& selection);

#endif
