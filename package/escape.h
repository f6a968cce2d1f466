// Texts that stand in a document as they are, through an interface that resolves references.
#ifndef KAV_EPUB_ESCAPE_H
#define KAV_EPUB_ESCAPE_H

#include <string>

// The text with each "&" made "&amp;"; a null text is empty.
std::string EscapeAmpersands(const char* text);

#endif
