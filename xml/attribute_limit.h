// Keeps tags with thousands of attributes from costing the square of their number.
#ifndef KAV_EPUB_ATTRIBUTE_LIMIT_H
#define KAV_EPUB_ATTRIBUTE_LIMIT_H

#include <string>

// The HTML without those attributes, in tags of very many, that XHTML 1.0 Strict does not declare
// or that repeat a name: the clean-up would drop them one by one. The record number of a picture in
// a MOBI book stays too. Empty when there is no such tag.
std::string LimitAttributes(const std::string& html);

#endif
