// The tree that browsers make of a page.
#ifndef KAVEPUB_PAGE_PAGE_TREE_H
#define KAVEPUB_PAGE_PAGE_TREE_H

#include <gumbo.h>

#include <string>
#include <string_view>
#include <vector>

#include "edition/page/arena.h"

class PageTree {
 public:
  // Of a page in UTF-8.
  explicit PageTree(std::string html);
  PageTree(const PageTree&) = delete;
  PageTree& operator=(const PageTree&) = delete;

  // The "html" element; there always is one.
  const GumboNode& Root() const { return *root; }

 private:
  std::string source;
  Arena arena;  // the parser's own way to free its nodes needs a stack as deep as the page
  const GumboNode* root;
};

// The "html" element of the tree that Gumbo makes.
const GumboNode* GumboTreeOf(std::string_view source, Arena& arena);

inline bool IsElement(const GumboNode& node) {
  return node.type == GUMBO_NODE_ELEMENT || node.type == GUMBO_NODE_TEMPLATE;
}

inline bool IsText(const GumboNode& node) {
  return node.type == GUMBO_NODE_TEXT || node.type == GUMBO_NODE_WHITESPACE ||
         node.type == GUMBO_NODE_CDATA;
}

// Of an element, in lower case but for SVG.
std::string_view NameOf(const GumboNode& element);

// Of an element; nothing where it has no such attribute.
const char* FindAttribute(const GumboNode& element, const char* name);

// The same, empty where it has none.
std::string_view AttributeOf(const GumboNode& element, const char* name);

// All text in a node.
std::string TextOf(const GumboNode& node);

// Visits a node and all below it in the order of the page: enter(node), which says whether to go
// into an element, and leave(node) of every element that was entered.
template <typename Enter, typename Leave>
void Walk(const GumboNode& top, Enter enter, Leave leave) {
  struct Step {
    const GumboNode* node;
    unsigned next;
  };
  std::vector<Step> path;
  if (!enter(top)) return;
  path.push_back({&top, 0});
  while (!path.empty()) {
    Step& place = path.back();
    const GumboVector& children = place.node->v.element.children;
    if (place.next == children.length) {
      leave(*place.node);
      path.pop_back();
      continue;
    }
    const auto& child = *static_cast<const GumboNode*>(children.data[place.next++]);
    if (enter(child) && IsElement(child)) path.push_back({&child, 0});
  }
}

#endif
