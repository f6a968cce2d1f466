// Libraries that belong to this one and lie beside it, but are only loaded when they are needed.
#ifndef KAVEPUB_BOOK_COMPANION_H
#define KAVEPUB_BOOK_COMPANION_H

#include <cstddef>

// A function of such a library; null where that is not there. It stays loaded: what it stands on
// cannot always be unloaded.
void* CompanionFunction(const char* library, const char* function);

// What such a function hands its file to: keeps it in the std::string `target`, which stays empty
// where there is no memory, as there are no exceptions to let through.
void KeepFile(void* target, const void* bytes, std::size_t size) noexcept;

#endif
