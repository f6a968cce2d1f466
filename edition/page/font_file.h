// Fonts, by their content.
#ifndef KAVEPUB_PAGE_FONT_FILE_H
#define KAVEPUB_PAGE_FONT_FILE_H

#include "edition/book/document.h"

// Whether it is a font that books can have, with all its tables; sets its type.
bool TakeFont(Resource& file);

#endif
