// References to files by their names.
#ifndef KAV_EPUB_URI_REFERENCE_H
#define KAV_EPUB_URI_REFERENCE_H

#include <string>
#include <string_view>

// The relative reference (RFC 3987) by which a document names a file beside it: the name as it is,
// with only those bytes percent-encoded that a reference cannot hold or would take for something
// else (blanks, "%", "#", "?", quotes, controls, bytes that are not UTF-8).
std::string UriReferenceOf(std::string_view fileName);

#endif
