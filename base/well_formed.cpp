// Goes through a document and changes what XML cannot hold.
#include "base/well_formed.h"

#include <libxml/parser.h>
#include <libxml/parserInternals.h>

#include <algorithm>
#include <string>

#include "base/xml_text.h"

namespace {

// What decides how libxml2 writes a document.
struct Writing {
  bool isUnicode;  // other encodings may lack a character, and no name can hold a reference to it
  bool isXhtml;
};

bool IsUnicode(const char* encoding) {
  return encoding == nullptr || xmlStrncasecmp(Xml(encoding), Xml("UTF"), 3) == 0;
}

bool IsName(const xmlChar* name, const Writing& writing) {
  const auto isAscii = [](xmlChar c) { return c < 0x80; };
  return IsXmlName(name) &&
         (writing.isUnicode || std::all_of(name, name + xmlStrlen(name), isAscii));
}

// In XHTML, libxml2 adds the namespace to "html" and "xml:lang" to whatever has "lang".
bool IsAddedAgain(const xmlNode* element, const xmlAttr* attr) {
  if (xmlStrEqual(attr->name, Xml("xmlns")) != 0) {
    return xmlStrEqual(element->name, Xml("html")) != 0;
  }
  return xmlStrEqual(attr->name, Xml("xml:lang")) != 0 &&
         xmlHasProp(element, Xml("lang")) != nullptr;
}

void RepairElement(xmlNode* element, const Writing& writing) {
  if (!IsName(element->name, writing)) xmlNodeSetName(element, Xml("span"));
  for (xmlAttr* attr = element->properties; attr != nullptr;) {
    xmlAttr* next = attr->next;
    const bool isTwice = writing.isXhtml && IsAddedAgain(element, attr);
    if (isTwice || !IsName(attr->name, writing)) xmlRemoveProp(attr);
    attr = next;
  }
}

void RepairComment(xmlNode* comment) {
  if (comment->content == nullptr) return;
  std::string text = reinterpret_cast<const char*>(comment->content);
  bool follows = false;
  for (char& c : text) {
    if (c == '-' && follows) c = ' ';
    follows = c == '-';
  }
  if (follows) text.back() = ' ';
  xmlNodeSetContent(comment, Xml(text.c_str()));
}

bool IsTarget(const xmlChar* name, const Writing& writing) {
  return IsName(name, writing) && xmlStrcasecmp(name, Xml("xml")) != 0;
}

bool IsPublicId(const xmlChar* id) {
  return id == nullptr ||
         std::all_of(id, id + xmlStrlen(id), [](xmlChar c) { return IS_PUBIDCHAR_CH(c); });
}

// libxml2's HTML parser takes any name or none, and may end a system identifier inside a character.
bool IsSound(const xmlDtd& type, const Writing& writing) {
  const bool isSystemId = type.SystemID == nullptr || xmlCheckUTF8(type.SystemID) != 0;
  return IsName(type.name, writing) && IsPublicId(type.ExternalID) && isSystemId;
}

// The node after this one in the document's order.
xmlNode* NextNode(xmlNode* node, bool descend) {
  if (descend && node->type == XML_ELEMENT_NODE && node->children != nullptr) return node->children;
  while (node != nullptr && node->next == nullptr) node = node->parent;
  return node == nullptr ? nullptr : node->next;
}

}  // namespace

void MakeWellFormed(xmlDoc* doc, const char* encoding) {
  Writing writing{IsUnicode(encoding), false};
  if (xmlDtd* type = doc->intSubset; type != nullptr && !IsSound(*type, writing)) {
    xmlUnlinkNode(reinterpret_cast<xmlNode*>(type));
    xmlFreeDtd(type);
  }
  if (const xmlDtd* type = doc->intSubset; type != nullptr) {
    writing.isXhtml = xmlIsXHTML(type->SystemID, type->ExternalID) == 1;
  }
  for (xmlNode* node = doc->children; node != nullptr;) {
    const bool goes = node->type == XML_PI_NODE && !IsTarget(node->name, writing);
    if (node->type == XML_ELEMENT_NODE) RepairElement(node, writing);
    if (node->type == XML_COMMENT_NODE) RepairComment(node);
    xmlNode* next = NextNode(node, !goes);
    if (goes) {
      xmlUnlinkNode(node);
      xmlFreeNode(node);
    }
    node = next;
  }
}
