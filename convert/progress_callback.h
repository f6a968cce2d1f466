/* How a conversion reports its progress to the host. */
#ifndef KAV_EPUB_PROGRESS_CALLBACK_H
#define KAV_EPUB_PROGRESS_CALLBACK_H

/* Called on the converting thread with the host's own pointer, the units done and the total. A
 * return of -2 cancels the conversion; any other value is ignored. */
typedef int (*ProgressCallback)(void* user, int done, int total);

#endif
