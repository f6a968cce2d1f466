// What pictures tell of themselves beside what they show.
#ifndef KAVEPUB_BOOK_PICTURE_NOTES_H
#define KAVEPUB_BOOK_PICTURE_NOTES_H

#include <cstddef>
#include <string>
#include <string_view>

struct PictureNotes {
  std::string title;           // on one line; empty where it has none
  int orientation = 1;         // as Exif counts: 1 is upright, 8 the last way to turn or mirror it
  size_t orientationByte = 0;  // where that is in the file; 0 where it is not
};

// Of JPEG, PNG, WebP and TIFF: by Exif, a PNG also by its texts.
PictureNotes ReadPictureNotes(std::string_view file);

#endif
