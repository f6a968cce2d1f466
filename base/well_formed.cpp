// Goes through a document and changes what XML cannot hold.
#include "base/well_formed.h"

#include <libxml/parser.h>
#include <libxml/parserInternals.h>

#include <algorithm>
#include <string>

#include "base/xml_text.h"

namespace {

void RepairElement(xmlNode* element) {
  if (!IsXmlName(element->name)) xmlNodeSetName(element, Xml("span"));
  for (xmlAttr* attr = element->properties; attr != nullptr;) {
    xmlAttr* next = attr->next;
    if (!IsXmlName(attr->name)) xmlRemoveProp(attr);
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

bool IsTarget(const xmlChar* name) {
  return IsXmlName(name) && xmlStrcasecmp(name, Xml("xml")) != 0;
}

bool IsPublicId(const xmlChar* id) {
  return id == nullptr ||
         std::all_of(id, id + xmlStrlen(id), [](xmlChar c) { return IS_PUBIDCHAR_CH(c); });
}

// The node after this one in the document's order.
xmlNode* NextNode(xmlNode* node, bool descend) {
  if (descend && node->type == XML_ELEMENT_NODE && node->children != nullptr) return node->children;
  while (node != nullptr && node->next == nullptr) node = node->parent;
  return node == nullptr ? nullptr : node->next;
}

}  // namespace

void MakeWellFormed(xmlDoc* doc) {
  if (const xmlDtd* type = xmlGetIntSubset(doc); type != nullptr && !IsPublicId(type->ExternalID)) {
    auto* node = reinterpret_cast<xmlNode*>(doc->intSubset);
    xmlUnlinkNode(node);
    xmlFreeDtd(reinterpret_cast<xmlDtd*>(node));
  }
  for (xmlNode* node = doc->children; node != nullptr;) {
    const bool goes = node->type == XML_PI_NODE && !IsTarget(node->name);
    if (node->type == XML_ELEMENT_NODE) RepairElement(node);
    if (node->type == XML_COMMENT_NODE) RepairComment(node);
    xmlNode* next = NextNode(node, !goes);
    if (goes) {
      xmlUnlinkNode(node);
      xmlFreeNode(node);
    }
    node = next;
  }
}
