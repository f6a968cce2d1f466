// Finds what a page shows outside of its body, and moves it there.
#include "xml/page_body.h"

#include <libxml/tree.h>

#include <algorithm>
#include <iterator>
#include <new>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "base/xml_text.h"
#include "xml/repair_state.h"

namespace {

// Elements that hold others and are nothing by themselves.
constexpr std::string_view kFrames[] = {"html", "head", "body"};

// Elements that tell something about the page, and frames, which a book cannot show.
constexpr std::string_view kNoContent[] = {"title",  "meta",     "base",  "link",    "style",
                                           "script", "frameset", "frame", "noframes"};

bool IsOneOf(const auto& names, const xmlNode* node) {
  return std::find(std::begin(names), std::end(names), NameOf(node)) != std::end(names);
}

xmlNode* FirstBody(xmlNode* root) {
  xmlNode* node = root;
  while (node != nullptr && NameOf(node) != "body") node = NextElement(node);
  return node;
}

bool IsContent(const xmlNode* node) {
  if (node->type == XML_ELEMENT_NODE) return !IsOneOf(kNoContent, node);
  return node->type == XML_TEXT_NODE && xmlIsBlankNode(node) == 0;
}

// The node after this one that is not below it.
xmlNode* NextBeside(xmlNode* node) {
  while (node != nullptr && node->next == nullptr) node = node->parent;
  return node == nullptr ? nullptr : node->next;
}

// These join no texts, so that the cost of many is not that of all they hold.
void PutFirst(xmlNode* parent, xmlNode* node) {
  xmlUnlinkNode(node);
  node->parent = parent;
  node->next = parent->children;
  (node->next == nullptr ? parent->last : node->next->prev) = node;
  parent->children = node;
}

void PutLast(xmlNode* parent, xmlNode* node) {
  xmlUnlinkNode(node);
  node->parent = parent;
  node->prev = parent->last;
  (node->prev == nullptr ? parent->children : node->prev->next) = node;
  parent->last = node;
}

}  // namespace

xmlNode* GatherBody(xmlDoc* page) {
  xmlNode* root = xmlDocGetRootElement(page);
  xmlNode* body = FirstBody(root);
  std::unordered_set<const xmlNode*> around;
  for (const xmlNode* node = body; node != nullptr; node = node->parent) around.insert(node);

  std::vector<xmlNode*> before;
  std::vector<xmlNode*> after;
  bool isAfter = false;
  for (xmlNode* node = root; node != nullptr;) {
    const bool isFrame = around.count(node) != 0 || IsOneOf(kFrames, node);
    if (!isFrame && IsContent(node)) (isAfter ? after : before).push_back(node);
    isAfter = isAfter || node == body;
    const bool descends = isFrame && node != body && node->children != nullptr;
    node = descends ? node->children : NextBeside(node);
  }

  if (body == nullptr && !before.empty()) {
    body = xmlNewDocNode(page, nullptr, Xml("body"), nullptr);
    if (body == nullptr) throw std::bad_alloc();
    xmlAddChild(root, body);
  }
  std::for_each(before.rbegin(), before.rend(), [&](xmlNode* node) { PutFirst(body, node); });
  for (xmlNode* node : after) PutLast(body, node);
  return body;
}
