// What an HTML document may hold and an XML file may not.
#ifndef KAV_BASE_WELL_FORMED_H
#define KAV_BASE_WELL_FORMED_H

#include <libxml/tree.h>

// Makes a document of libxml2's HTML parser writable as well-formed XML: elements whose names XML
// does not know become "span" elements, such attributes go; so do XML declarations that came in as
// instructions, and a document type that XML would not take; comments lose their double hyphens.
void MakeWellFormed(xmlDoc* doc);

#endif
