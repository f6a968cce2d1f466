// What is done about each validity error that libxml2 reports while a page is validated.
#include <libxml/parser.h>
#include <libxml/valid.h>

#include <algorithm>
#include <cstdarg>
#include <exception>
#include <iterator>

#include "xml/name_lists.h"
#include "xml/repair_state.h"
#include "xml/xml_base.h"

namespace {

constexpr int kNameBufferSize = 50;

// The first child of that name, of whatever type.
xmlNode* FirstChildNamed(TRepairState& state, const xmlNode* parent, const xmlChar* name) {
  auto& known = state.firstChildren[parent];
  const auto [entry, isNew] =
      known.try_emplace(reinterpret_cast<const char*>(name), parent->children);
  xmlNode*& child = entry->second;
  while (child != nullptr && xmlStrEqual(child->name, name) == 0) child = child->next;
  return child;
}

// An element that is not declared, or not where it stands.
void ReplaceChild(TRepairState& state, xmlNode* node, const xmlChar* childName) {
  xmlNode* child = FirstChildNamed(state, node, childName);
  if (child == nullptr) return;
  if (IsListed(kListContainers, NameOf(node))) {
    state.pending.push_back(child);
  } else {
    Rename(child, "span");
  }
}

// What an element without a required attribute holds goes with the repair, whatever it is.
void AddMissingAttribute(TRepairState& state, xmlNode* node, const xmlChar* name) {
  constexpr struct {
    std::string_view element;
    const char* attribute;
    const char* value;
  } kRequired[] = {{"script", "type", "text/javascript"},
                   {"style", "type", "text/css"},
                   {"bdo", "dir", "ltr"},
                   {"img", "alt", " "},
                   {"area", "alt", " "}};
  const auto* known = std::find_if(std::begin(kRequired), std::end(kRequired),
                                   [&](const auto& row) { return row.element == NameOf(node); });
  if (known != std::end(kRequired)) {
    SetAttribute(node, Xml(known->attribute), Xml(known->value));
  } else {
    SetAttribute(node, name, Xml(" "));
  }
  ClearContent(state, node);
  state.startOver = true;
}

void TakeAttributeName(TRepairState& state, xmlNode* node, const xmlChar* name) {
  if (xmlAttr* attr = FindAttribute(node, name)) {
    const xmlDict* dict = node->doc == nullptr ? nullptr : node->doc->dict;
    if (dict == nullptr || xmlDictOwns(node->doc->dict, attr->name) == 0) {
      xmlFree(const_cast<xmlChar*>(attr->name));
    }
    attr->name = nullptr;
  }
  state.startOver = true;
}

void RemoveAttribute(TRepairState& state, xmlNode* node, const xmlChar* name) {
  if (xmlAttr* attr = FindAttribute(node, name)) xmlRemoveProp(attr);
  state.startOver = true;
}

void ClearAll(TRepairState& state, xmlNode* node, const xmlChar* /*name*/) {
  ClearContent(state, node);
}

const xmlAttribute* FindDeclaration(const xmlDoc* doc, const xmlChar* element,
                                    const xmlAttr* attr) {
  for (xmlDtd* subset : {doc->intSubset, doc->extSubset}) {
    const xmlAttribute* declaration =
        attr->ns == nullptr ? xmlGetDtdAttrDesc(subset, element, attr->name)
                            : xmlGetDtdQAttrDesc(subset, element, attr->name, attr->ns->prefix);
    if (declaration != nullptr) return declaration;
  }
  return nullptr;
}

const xmlAttribute* DeclarationOf(const xmlNode* node, const xmlAttr* attr) {
  if (node->ns != nullptr && node->ns->prefix != nullptr) {
    xmlChar buffer[kNameBufferSize];
    xmlChar* name = xmlBuildQName(node->name, node->ns->prefix, buffer, kNameBufferSize);
    const xmlAttribute* declaration = FindDeclaration(node->doc, name, attr);
    if (name != buffer && name != node->name) xmlFree(name);
    if (declaration != nullptr) return declaration;
  }
  return FindDeclaration(node->doc, node->name, attr);
}

// A value that the DTD does not allow becomes the default, or the first one that it does allow.
void ResetValue(TRepairState& state, xmlNode* node, const xmlChar* /*name*/) {
  const xmlAttr* attr = *state.currentAttr;
  if (node->name == nullptr || attr == nullptr || attr->name == nullptr) return;
  const xmlAttribute* declaration = DeclarationOf(node, attr);
  if (declaration == nullptr) return;
  if (declaration->defaultValue != nullptr) {
    SetAttribute(node, attr->name, declaration->defaultValue);
  } else if (declaration->tree != nullptr) {
    SetAttribute(node, attr->name, declaration->tree->name);
  }
}

constexpr struct {
  int code;
  void (*repair)(TRepairState& state, xmlNode* node, const xmlChar* name);
} kRepairs[] = {
    {XML_ERR_DOCUMENT_EMPTY, ResetValue},        {XML_DTD_ATTRIBUTE_DEFAULT, ResetValue},
    {XML_DTD_ATTRIBUTE_VALUE, ResetValue},       {XML_DTD_INVALID_CHILD, ReplaceChild},
    {XML_DTD_UNKNOWN_ELEM, ReplaceChild},        {XML_DTD_MISSING_ATTRIBUTE, AddMissingAttribute},
    {XML_DTD_NO_PREFIX, TakeAttributeName},      {XML_DTD_NOT_EMPTY, ClearAll},
    {XML_DTD_UNKNOWN_ATTRIBUTE, RemoveAttribute}};

void RepairLastError(TRepairState& state) {
  const xmlError& error = *state.lastError;
  auto* node = static_cast<xmlNode*>(error.node);
  if (node == nullptr) return;
  // The repair may go through libxml2, which then overwrites its record.
  const std::string name = error.str1 == nullptr ? "" : error.str1;
  for (const auto& [code, repair] : kRepairs) {
    if (code == error.code) return repair(state, node, Xml(name.c_str()));
  }
}

}  // namespace

void XMLBase::PrintError(void* ctx, const char* /*msg*/, ...) {
  auto* state = static_cast<TRepairState*>(ctx);
  if (state == nullptr || state->lastError == nullptr) return;
  // An internal error is a content model that there was no memory for.
  const int code = state->lastError->code;
  if (code == XML_ERR_NO_MEMORY || code == XML_ERR_INTERNAL_ERROR) state->incomplete = true;
  try {
    RepairLastError(*state);
  } catch (const std::exception&) {
    state->incomplete = true;  // libxml2 is between here and whoever could catch it
  }
}

void XMLBase::PrintWarning(void* /*ctx*/, xmlError* /*error*/) {}
