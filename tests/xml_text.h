// Parsing of documents in tests: a document that is not well-formed comes out as null.
#ifndef KAV_EPUB_TESTS_XML_TEXT_H
#define KAV_EPUB_TESTS_XML_TEXT_H

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

struct FreeXmlDoc {
  void operator()(xmlDoc* doc) const { xmlFreeDoc(doc); }
};
using XmlDoc = std::unique_ptr<xmlDoc, FreeXmlDoc>;

inline XmlDoc ParseXml(std::string_view xml) {
  constexpr int kOptions =
      XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_HUGE | XML_PARSE_NODICT;
  return XmlDoc(
      xmlReadMemory(xml.data(), static_cast<int>(xml.size()), nullptr, nullptr, kOptions));
}

// The contents of all elements of a name, in document order; one entry "(malformed)" for a document
// that cannot be parsed.
inline std::vector<std::string> TextsOf(std::string_view xml, std::string_view name) {
  const XmlDoc doc = ParseXml(xml);
  if (doc == nullptr) return {"(malformed)"};
  std::vector<std::string> texts;
  xmlNode* node = xmlDocGetRootElement(doc.get());
  while (node != nullptr) {
    if (node->type == XML_ELEMENT_NODE && name == reinterpret_cast<const char*>(node->name)) {
      xmlChar* content = xmlNodeGetContent(node);
      texts.emplace_back(reinterpret_cast<const char*>(content));
      xmlFree(content);
    }
    if (node->children != nullptr) {
      node = node->children;
      continue;
    }
    while (node != nullptr && node->next == nullptr) node = node->parent;
    if (node != nullptr && node->type == XML_DOCUMENT_NODE) break;
    if (node != nullptr) node = node->next;
  }
  return texts;
}

#endif
