/* The version of the library, which grows by the rules of CONTRIBUTING.md. */
#ifndef KAV_EPUB_VERSION_H
#define KAV_EPUB_VERSION_H

/* The version of these headers. EpubBase::LibraryVersion tells KAV_EPUB_VERSION_NUMBER of the
 * library that is loaded; the notice of GetEpubCopyright begins with it as a text. */
#define KAV_EPUB_VERSION_MAJOR 0
#define KAV_EPUB_VERSION_MINOR 2
#define KAV_EPUB_VERSION_PATCH 0
#define KAV_EPUB_VERSION_NUMBER \
  (KAV_EPUB_VERSION_MAJOR * 1000000 + KAV_EPUB_VERSION_MINOR * 1000 + KAV_EPUB_VERSION_PATCH)

#endif
