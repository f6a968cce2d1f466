/* Pictures of pixels for books: the interface of libkavepub-raster, which libkavepub loads when it
 * needs it. */
#ifndef KAVEPUB_RASTER_RASTER_H
#define KAVEPUB_RASTER_RASTER_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

#define KAVEPUB_RASTER_LIBRARY "libkavepub-raster.so.0"
#define KAVEPUB_RASTER_FUNCTION "kavepub_raster_v0"

/* Larger ones are not decoded: four bytes a pixel are needed, and as many again to turn them. */
#define KAVEPUB_RASTER_MOST_PIXELS (1L << 26)

enum kavepub_raster_code {
  KAVEPUB_RASTER_OK = 0,
  KAVEPUB_RASTER_FOREIGN = 1, /* of no kind that is known here, or of a rare form of one */
  KAVEPUB_RASTER_DAMAGED = 2,
  KAVEPUB_RASTER_LARGE = 3,
  KAVEPUB_RASTER_MEMORY = 4, /* memory ran out */
  KAVEPUB_RASTER_UNFIT = 5   /* a JPEG that cannot be turned without a loss that may be seen */
};

/* Takes the new file. */
typedef void (*kavepub_raster_callback)(void* user, const void* bytes, size_t size);

/* Makes a PNG or JPEG of a WebP, BMP or TIFF file, turned upright. `orientation` is what Exif calls
 * so, from 1 to 8. A JPEG file is only turned, and without a loss: where that takes it, at most a
 * hundredth of a side goes. `pictures` becomes the number of those that the file holds, of which
 * the first is taken. A code; nothing is taken but with KAVEPUB_RASTER_OK. Different threads can
 * call at the same time. */
int kavepub_raster_v0(const void* bytes, size_t size, int orientation, size_t* pictures,
                      kavepub_raster_callback take, void* user);
typedef int (*kavepub_raster_function)(const void* bytes, size_t size, int orientation,
                                       size_t* pictures, kavepub_raster_callback take, void* user);

#ifdef __cplusplus
}
#endif

#endif
