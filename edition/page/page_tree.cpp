// Lets Gumbo parse: of the trees that HTML 5 asks for it makes 95 of 100, libxml2's parser hardly
// one.
#include "edition/page/page_tree.h"

#include <utility>

#include "edition/page/orderly_tree.h"

PageTree::PageTree(std::string html) : source(std::move(html)), root(OrderlyTreeOf(source, arena)) {
  if (root == nullptr) root = GumboTreeOf(source, arena);
}

const GumboNode* GumboTreeOf(std::string_view source, Arena& arena) {
  GumboOptions options = kGumboDefaultOptions;
  options.max_errors = 0;
  options.userdata = &arena;
  options.allocator = [](void* taken, size_t size) {
    return static_cast<Arena*>(taken)->Take(size);
  };
  options.deallocator = [](void*, void*) {};
  return gumbo_parse_with_options(&options, source.data(), source.size())->root;
}

std::string_view NameOf(const GumboNode& element) {
  const GumboElement& facts = element.v.element;
  if (facts.tag != GUMBO_TAG_UNKNOWN && facts.tag_namespace != GUMBO_NAMESPACE_SVG) {
    return gumbo_normalized_tagname(facts.tag);
  }
  GumboStringPiece name = facts.original_tag;
  gumbo_tag_from_original_text(&name);
  if (const char* normal = gumbo_normalize_svg_tagname(&name)) return normal;
  return {name.data, name.length};
}

const char* FindAttribute(const GumboNode& element, const char* name) {
  const GumboAttribute* found = gumbo_get_attribute(&element.v.element.attributes, name);
  return found == nullptr ? nullptr : found->value;
}

std::string_view AttributeOf(const GumboNode& element, const char* name) {
  const char* value = FindAttribute(element, name);
  return value == nullptr ? std::string_view() : value;
}

std::string TextOf(const GumboNode& node) {
  std::string text;
  const auto enter = [&](const GumboNode& below) {
    if (IsText(below)) text += below.v.text.text;
    return IsElement(below);
  };
  Walk(node, enter, [](const GumboNode&) {});
  return text;
}
