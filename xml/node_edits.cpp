// The node operations that the rules of the repair share.
#include <new>
#include <utility>

#include "xml/repair_state.h"

namespace {

constexpr char kMarkerStyle[] = "color:#0000ff;";  // blue, as links are

}  // namespace

xmlNode* NextElement(xmlNode* node) {
  xmlNode* next = xmlFirstElementChild(node);
  while (next == nullptr && node != nullptr) {
    next = xmlNextElementSibling(node);
    node = node->parent;
  }
  return next;
}

std::optional<std::string> AttributeOf(const xmlNode* node, const char* name) {
  const xmlAttr* attr = node->type == XML_ELEMENT_NODE ? FindAttribute(node, Xml(name)) : nullptr;
  if (attr == nullptr) return std::nullopt;
  return TextOf(XmlString(xmlNodeListGetString(node->doc, attr->children, 1)));
}

xmlAttr* FindAttribute(const xmlNode* node, const xmlChar* name) {
  xmlAttr* attr = node->properties;
  while (attr != nullptr && xmlStrEqual(attr->name, name) == 0) attr = attr->next;
  return attr;
}

void RemoveAttributes(xmlNode* node) {
  xmlFreePropList(node->properties);
  node->properties = nullptr;
}

void SetName(xmlNode* node, const char* name) {
  xmlNodeSetName(node, Xml(name));
  if (node->name == nullptr) throw std::bad_alloc();
}

void SetAttribute(xmlNode* node, const xmlChar* name, const xmlChar* value) {
  const xmlAttr* attr = xmlSetProp(node, name, value);
  if (attr == nullptr || attr->name == nullptr) throw std::bad_alloc();
}

void Rename(xmlNode* node, const char* name) {
  RemoveAttributes(node);
  SetName(node, name);
}

void Neutralize(xmlNode* node) {
  Rename(node, "span");
  SetAttribute(node, Xml("style"), Xml(kMarkerStyle));
}

void ClearContent(TRepairState& state, xmlNode* node) {
  if (node->children == nullptr || node->type != XML_ELEMENT_NODE) return;
  state.cleared.push_back(nullptr);
  xmlNode* holder = xmlNewDocNode(node->doc, nullptr, Xml("cleared"), nullptr);
  if (holder == nullptr) throw std::bad_alloc();
  state.cleared.back() = holder;
  std::swap(holder->children, node->children);
  std::swap(holder->last, node->last);
  for (xmlNode* child = holder->children; child != nullptr; child = child->next) {
    child->parent = holder;
  }
}
