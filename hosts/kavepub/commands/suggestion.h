// What somebody may have meant who mistyped a word.
#ifndef KAVEPUB_SUGGESTION_H
#define KAVEPUB_SUGGESTION_H

#include <string>
#include <string_view>
#include <vector>

#include "hosts/kavepub/commands/command_line.h"

// " (did you mean --title?)" for the one of the known names that is nearest; empty when none is
// near.
std::string Suggestion(std::string_view word, const std::vector<Entry>& known);

#endif
