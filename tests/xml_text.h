// Parsing of documents in tests: a document that is not well-formed comes out as null.
#ifndef KAV_EPUB_TESTS_XML_TEXT_H
#define KAV_EPUB_TESTS_XML_TEXT_H

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xpath.h>

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

// Takes over a string of libxml2's; "(null)" for none.
inline std::string TakenXml(xmlChar* xml) {
  std::string text = xml == nullptr ? "(null)" : reinterpret_cast<const char*>(xml);
  xmlFree(xml);
  return text;
}

// The value of an XPath expression, as a string; "(malformed)" for a document that cannot be
// parsed.
inline std::string XPathText(std::string_view xml, const char* expression) {
  const XmlDoc doc = ParseXml(xml);
  if (doc == nullptr) return "(malformed)";
  xmlXPathContext* context = xmlXPathNewContext(doc.get());
  xmlXPathObject* value =
      xmlXPathEvalExpression(reinterpret_cast<const xmlChar*>(expression), context);
  std::string text = TakenXml(xmlXPathCastToString(value));
  xmlXPathFreeObject(value);
  xmlXPathFreeContext(context);
  return text;
}

// A document as libxml2 writes it.
inline std::string Written(const XmlDoc& doc) {
  xmlChar* xml = nullptr;
  int size = 0;
  xmlDocDumpMemory(doc.get(), &xml, &size);
  return TakenXml(xml);
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
      texts.push_back(TakenXml(xmlNodeGetContent(node)));
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
