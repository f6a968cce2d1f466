// Parsing of documents in tests: a document that is not well-formed comes out as null.
#ifndef KAV_EPUB_TESTS_XML_TEXT_H
#define KAV_EPUB_TESTS_XML_TEXT_H

#include <libxml/HTMLparser.h>
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

inline const xmlChar* Xml(const std::string& text) {
  return reinterpret_cast<const xmlChar*>(text.c_str());
}

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

// The contents of all nodes that an XPath expression finds, in document order; the one value of an
// expression that finds no nodes; "(malformed)" for a document that could not be parsed.
inline std::vector<std::string> XPathTexts(const XmlDoc& doc, const std::string& expression) {
  if (doc == nullptr) return {"(malformed)"};
  xmlXPathContext* context = xmlXPathNewContext(doc.get());
  xmlXPathObject* found = xmlXPathEvalExpression(Xml(expression), context);
  std::vector<std::string> texts;
  if (found->type != XPATH_NODESET) {
    texts.push_back(TakenXml(xmlXPathCastToString(found)));
  } else {
    for (int i = 0; i < xmlXPathNodeSetGetLength(found->nodesetval); ++i) {
      texts.push_back(TakenXml(xmlNodeGetContent(found->nodesetval->nodeTab[i])));
    }
  }
  xmlXPathFreeObject(found);
  xmlXPathFreeContext(context);
  return texts;
}

// The contents of all elements of a name.
inline std::vector<std::string> TextsOf(std::string_view xml, const std::string& name) {
  return XPathTexts(ParseXml(xml), "//*[local-name()='" + name + "']");
}

// What the body of a page holds, as it is written; all of the page if it has none.
inline std::string BodyOf(const std::string& page) {
  const size_t start = page.find("<body>");
  const size_t end = page.rfind("</body>");
  if (start == std::string::npos || end == std::string::npos) return page;
  return page.substr(start + 6, end - start - 6);
}

// A document as libxml2 writes it.
inline std::string Written(const XmlDoc& doc) {
  xmlChar* xml = nullptr;
  int size = 0;
  xmlDocDumpMemory(doc.get(), &xml, &size);
  return TakenXml(xml);
}

#endif
