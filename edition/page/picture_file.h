// Pictures, by their content.
#ifndef KAVEPUB_PAGE_PICTURE_FILE_H
#define KAVEPUB_PAGE_PICTURE_FILE_H

#include <string>

#include "edition/book/document.h"
#include "edition/book/result.h"

struct TakenPicture {
  std::string title;    // that it has of itself; empty where it has none
  std::string warning;  // what its reader may miss; empty where that is nothing
  bool isWhole = true;  // else it is cut off or broken, but may show something
};

// Makes a file one that books can show: JPEG, PNG and GIF as they are, but JPEG turned as its Exif
// says; SVG without what runs; WebP, BMP and TIFF as PNG or JPEG. A failure tells in words that go
// on from its name what keeps it from that.
Result<TakenPicture> TakePicture(Resource& file);

#endif
