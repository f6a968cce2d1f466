/* Drawing of covers: the interface of libkavepub-cover, which libkavepub loads when it needs one.
 */
#ifndef KAVEPUB_COVER_DRAW_COVER_H
#define KAVEPUB_COVER_DRAW_COVER_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

#define KAVEPUB_COVER_LIBRARY "libkavepub-cover.so.0"
#define KAVEPUB_COVER_FUNCTION "kavepub_draw_cover_v0"

/* What of the book is on its cover: UTF-8, on one line each. */
struct kavepub_cover_texts {
  const char* title;
  const char* author;   /* may be empty */
  const char* language; /* a tag of BCP 47 */
};

/* Takes the picture's file. */
typedef void (*kavepub_cover_callback)(void* user, const void* bytes, size_t size);

/* Draws a cover as PNG. 0, or something else when it cannot be drawn: there are no fonts, or no
 * memory. Different threads can draw at the same time. */
int kavepub_draw_cover_v0(const struct kavepub_cover_texts* texts, kavepub_cover_callback take,
                          void* user);
typedef int (*kavepub_cover_function)(const struct kavepub_cover_texts* texts,
                                      kavepub_cover_callback take, void* user);

#ifdef __cplusplus
}
#endif

#endif
