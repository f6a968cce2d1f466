// What an HTML document may hold and an XML file may not.
#ifndef KAV_EPUB_WELL_FORMED_H
#define KAV_EPUB_WELL_FORMED_H

#include <libxml/tree.h>

// Makes a document of libxml2's HTML parser writable as well-formed XML in an encoding, or in
// libxml2's own if there is none: elements whose names XML does not know, or the encoding may not
// hold, become "span" elements, such attributes go; so do attributes that libxml2 would write a
// second time, XML declarations that came in as instructions, and a document type that XML would
// not take; comments lose their double hyphens.
void MakeWellFormed(xmlDoc* doc, const char* encoding);

#endif
