// Pictures and fonts, by their content.
#ifndef KAVEPUB_PAGE_PICTURE_FILE_H
#define KAVEPUB_PAGE_PICTURE_FILE_H

#include <string>

#include "edition/book/document.h"

// Makes a file one that books can show: JPEG, PNG and GIF as they are, SVG without what runs.
// False when it is no such picture.
bool TakePicture(Resource& file);

// Whether it is a font that books can have; sets its type.
bool TakeFont(Resource& file);

#endif
