/* Marks of the public interface: what is exported, and what a host should no longer use. */
#ifndef KAV_EPUB_EXPORT_H
#define KAV_EPUB_EXPORT_H

#define KAV_EPUB_API __attribute__((visibility("default")))
#define KAV_EPUB_LOCAL __attribute__((visibility("hidden")))

/* The compiler warns of the use of what is superseded, with an advice, unless the host defines
 * KAV_EPUB_WITH_DEPRECATED. */
#ifdef KAV_EPUB_WITH_DEPRECATED
#define KAV_EPUB_DEPRECATED(advice)
#else
#define KAV_EPUB_DEPRECATED(advice) __attribute__((deprecated(advice)))
#endif

#endif
