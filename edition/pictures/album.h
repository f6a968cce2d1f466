// Makes books of pictures: a page each.
#ifndef KAVEPUB_PICTURES_ALBUM_H
#define KAVEPUB_PICTURES_ALBUM_H

#include "edition/book/source.h"

// Of JPEG, PNG, GIF, SVG, WebP, BMP and TIFF files, in their order; the first one is the cover.
Status MakeAlbum(const std::vector<Input>& inputs, const SourceOptions& options, BookSink& sink,
                 Run& run);

#endif
