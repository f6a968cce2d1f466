// The body of a page of libxml2's HTML parser.
#ifndef KAV_EPUB_PAGE_BODY_H
#define KAV_EPUB_PAGE_BODY_H

#include <libxml/tree.h>

// The parser leaves elements that it does not know in a head that nothing has ended, and texts and
// elements behind the end of the body beside it. This takes all that is content into the body: what
// stands before it to its beginning, the rest to its end. A body is made where there is none but
// content; null when there is neither. std::bad_alloc when memory runs out.
xmlNode* GatherBody(xmlDoc* page);

#endif
