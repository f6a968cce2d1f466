/* Visibility of the public interface: everything else of the library stays inside it. */
#ifndef KAV_EPUB_EXPORT_H
#define KAV_EPUB_EXPORT_H

#define KAV_EPUB_API __attribute__((visibility("default")))
#define KAV_EPUB_LOCAL __attribute__((visibility("hidden")))

#endif
