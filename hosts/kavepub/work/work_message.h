// Work and what comes of it as bytes, on their way into a cell and out of it.
#ifndef KAVEPUB_WORK_MESSAGE_H
#define KAVEPUB_WORK_MESSAGE_H

#include <functional>
#include <string>
#include <string_view>

#include "hosts/kavepub/work/work.h"

std::string WriteWork(const Work& work);
Work ReadWork(std::string_view bytes);

// Tells how a piece of work ended, with a conversion or an exception.
std::string WriteEnd(const std::function<Conversion()>& work);

// Returns or throws the same. The bytes may come from anybody: what is no such message is a
// Failure, and no text can move the cursor of a terminal.
Conversion ReadEnd(std::string_view bytes);

#endif
