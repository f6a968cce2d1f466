// Lenient parsing of foreign HTML.
#ifndef KAV_EPUB_HTML_PARSER_H
#define KAV_EPUB_HTML_PARSER_H

#include <libxml/tree.h>

#include <memory>
#include <string>

struct FreeXmlDocument {
  void operator()(xmlDoc* document) const { xmlFreeDoc(document); }
};
using XmlDocument = std::unique_ptr<xmlDoc, FreeXmlDocument>;

// Parses HTML with options of libxml2's htmlReadMemory; encoding may be null. Null when nothing
// could be made of it; std::bad_alloc when memory ran out on the way. Texts of any length are kept
// whole. Elements nested deeper than about 250 are empty and stand one after another, with their
// content behind them, at that depth.
XmlDocument ParseHtml(const std::string& html, const char* encoding, int options);

#endif
