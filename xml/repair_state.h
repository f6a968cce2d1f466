// The record of a running HTML clean-up, and the node operations that its rules share.
#ifndef KAV_EPUB_REPAIR_STATE_H
#define KAV_EPUB_REPAIR_STATE_H

#include <libxml/parser.h>

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "base/xml_text.h"

struct TRepairState {
  xmlError* lastError = nullptr;    // libxml2 fills it before it calls a handler
  xmlAttr** currentAttr = nullptr;  // the attribute being validated
  std::vector<xmlNode*> pending;    // nodes to delete after the walk
  bool startOver = false;           // the attributes of the element being validated have changed
  bool incomplete = false;          // memory ran out inside a handler

  // Elements that hold what was cleared out of others: the walk may still be inside it.
  std::vector<xmlNode*> cleared;

  // By parent and name, the first child of that name when it was last looked for; the ones before
  // it have been renamed since, so a search can go on from there.
  std::unordered_map<const xmlNode*, std::unordered_map<std::string, xmlNode*>> firstChildren;

  TRepairState() = default;
  ~TRepairState() {
    for (xmlNode* holder : cleared) xmlFreeNode(holder);
  }
  TRepairState(const TRepairState&) = delete;
  TRepairState& operator=(const TRepairState&) = delete;
};

// The name of a node; empty for one that has none.
inline std::string_view NameOf(const xmlNode* node) {
  return node->name == nullptr ? "" : reinterpret_cast<const char*>(node->name);
}

// The element after this one in the document's order; null after the last one.
xmlNode* NextElement(xmlNode* node);

// The value of an attribute, if the element has it itself.
std::optional<std::string> AttributeOf(const xmlNode* node, const char* name);

// The attribute itself, never the default of a DTD; null when there is none.
xmlAttr* FindAttribute(const xmlNode* node, const xmlChar* name);

void RemoveAttributes(xmlNode* node);

// As libxml2 does it, except that std::bad_alloc tells when there is no memory for a name. (Of a
// value, libxml2 tells itself.)
void SetName(xmlNode* node, const char* name);
void SetAttribute(xmlNode* node, const xmlChar* name, const xmlChar* value);

// Turns an element into another one, without attributes.
void Rename(xmlNode* node, const char* name);

// Turns an element into text that is marked as a former link or picture.
void Neutralize(xmlNode* node);

// Takes all content out of an element; the nodes live as long as the state.
void ClearContent(TRepairState& state, xmlNode* node);

#endif
