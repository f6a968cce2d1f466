// Libraries that belong to this one and lie beside it, but are only loaded when they are needed.
#ifndef KAVEPUB_BOOK_COMPANION_H
#define KAVEPUB_BOOK_COMPANION_H

// A function of such a library; null where that is not there. It stays loaded: what it stands on
// cannot always be unloaded.
void* CompanionFunction(const char* library, const char* function);

#endif
