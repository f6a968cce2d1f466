// The node paths by which a document's elements are found.
#include <algorithm>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "platform/kav_tool/kav_tool.h"
#include "xml/xml_base.h"

namespace {

// A path, split at its first separator.
struct SplitPath {
  std::string_view head;
  std::string_view rest;
};

SplitPath Split(std::string_view path) {
  const char separator = path.find('/') == std::string_view::npos ? '\\' : '/';
  const size_t position = path.find(separator);
  if (position == std::string_view::npos) return {path, {}};
  return {path.substr(0, position), path.substr(position + 1)};
}

// A head with an occurrence index: "tr-3" is the third "tr", "tr" the first. An index below 1 is 0,
// which matches nothing.
struct IndexedName {
  std::string_view name;
  long index;
};

IndexedName ParseIndex(std::string_view head) {
  const size_t dash = head.find('-');
  if (dash == std::string_view::npos) return {head, 1};
  const std::string digits(head.substr(dash + 1));
  return {head.substr(0, dash), std::max(std::strtol(digits.c_str(), nullptr, 10), 0L)};
}

bool IsNamed(const xmlNode* node, std::string_view name) {
  return node != nullptr && node->type == XML_ELEMENT_NODE &&
         name == reinterpret_cast<const char*>(node->name);
}

xmlNode* ElementChildren(xmlNode* node) {
  return node->type == XML_ELEMENT_NODE ? node->children : nullptr;
}

// The first match among first and its following siblings. Elements of the name count down the index
// among their siblings; those of other names are searched with the index as it stands there.
// Candidates that a larger index leaves are always among those of a smaller one, so nothing is ever
// searched twice, and the levels are kept in a list because a tree can be deeper than the stack.
xmlNode* FindAmong(xmlNode* first, std::string_view path, long startIndex) {
  struct Level {
    xmlNode* node;
    long index;
  };
  const SplitPath split = Split(path);
  const std::string_view name = ParseIndex(split.head).name;
  std::vector<Level> levels{{first, startIndex}};
  while (!levels.empty()) {
    Level& level = levels.back();
    xmlNode* node = level.node;
    if (node == nullptr) {
      levels.pop_back();
      continue;
    }
    level.node = node->next;
    if (!IsNamed(node, name)) {
      const long index = level.index;
      levels.push_back({ElementChildren(node), index});
    } else if (level.index != 1) {
      --level.index;
    } else if (split.rest.empty()) {
      return node;
    } else if (xmlNode* found = FindAmong(node->children, split.rest,
                                          ParseIndex(Split(split.rest).head).index)) {
      return found;
    }
  }
  return nullptr;
}

// The node that a search from the newest to the oldest visits after node, without leaving top:
// a node comes before what is below it, and later siblings before earlier ones.
xmlNode* NextOlder(xmlNode* node, const xmlNode* top, bool descend) {
  if (descend && node->type == XML_ELEMENT_NODE && node->last != nullptr) return node->last;
  while (node != top && node->prev == nullptr) node = node->parent;
  return node == top ? nullptr : node->prev;
}

xmlNode* FindNewest(xmlNode* start, std::string_view path) {
  const SplitPath split = Split(path);
  bool descend = true;
  for (xmlNode* node = start; node != nullptr; node = NextOlder(node, start, descend)) {
    descend = !IsNamed(node, split.head);
    if (descend) continue;
    if (split.rest.empty()) return node;
    for (xmlNode* child = node->last; child != nullptr; child = child->prev) {
      if (xmlNode* found = FindNewest(child, split.rest)) return found;
    }
  }
  return nullptr;
}

}  // namespace

xmlNode* XMLBase::FindByRule(const char* path) {
  const bool isIndexed = std::string_view(path).find('-') != std::string_view::npos;
  return isIndexed ? FindNode(root, path) : FindLastNode(root, path);
}

xmlNode* XMLBase::FindNode(xmlNode* start, const char* path) {
  if (KavIsStrNullOrEmpty(path) != 0 || start == nullptr) return nullptr;
  const SplitPath split = Split(path);
  const IndexedName head = ParseIndex(split.head);
  if (head.index < 1) return nullptr;
  if (!IsNamed(start, head.name)) return FindAmong(ElementChildren(start), path, head.index);
  if (head.index != 1) return FindAmong(start->next, path, head.index - 1);
  if (split.rest.empty()) return start;
  return FindAmong(start->children, split.rest, ParseIndex(Split(split.rest).head).index);
}

// The next sibling of the element found last, or, when it is the last one, that element itself, its
// parent or, of an element without a parent, the last child: the places where a builder goes next.
xmlNode* XMLBase::FindBesideLast(const std::string& name) {
  if (lastFound->next != nullptr) return IsNamed(lastFound->next, name) ? lastFound->next : nullptr;
  if (IsNamed(lastFound, name)) return lastFound;
  xmlNode* above = lastFound->parent;
  if (above != nullptr) return IsNamed(above, name) ? above : nullptr;
  return IsNamed(lastFound->last, name) ? lastFound->last : nullptr;
}

xmlNode* XMLBase::FindLastNode(xmlNode* start, const char* path) {
  if (KavIsStrNullOrEmpty(path) != 0 || start == nullptr) return nullptr;
  const std::string whole = path;
  const bool isSingleName = Split(whole).head.size() == whole.size();
  if (isSingleName && lastFound != nullptr) {
    if (xmlNode* beside = FindBesideLast(whole)) return lastFound = beside;
  }
  if (!isSingleName || start != root) return lastFound = FindNewest(start, whole);

  const auto known = newest.find(whole);
  if (known != newest.end()) return lastFound = known->second;
  lastFound = FindNewest(root, whole);
  if (lastFound != nullptr) newest.emplace(whole, lastFound);
  return lastFound;
}

// What is below node is about to go, or all of node: nothing there may be found from memory.
void XMLBase::ForgetBelow(const xmlNode* node) {
  newest.clear();
  for (const xmlNode* above = lastFound; above != nullptr; above = above->parent) {
    if (above == node) {
      if (lastFound != node) lastFound = nullptr;
      return;
    }
  }
}
