// Lets Gumbo parse: of the trees that HTML 5 asks for it makes 95 of 100, libxml2's parser hardly
// one.
#include "edition/page/page_tree.h"

#include <algorithm>
#include <cstddef>

namespace {
constexpr size_t kBlockSize = size_t{1} << 16;
constexpr size_t kAlignment = alignof(std::max_align_t);
}  // namespace

PageTree::PageTree(std::string html) : source(std::move(html)) {
  GumboOptions options = kGumboDefaultOptions;
  options.max_errors = 0;
  options.userdata = &arena;
  options.allocator = [](void* taken, size_t size) {
    return static_cast<Arena*>(taken)->Take(size);
  };
  options.deallocator = [](void*, void*) {};
  root = gumbo_parse_with_options(&options, source.data(), source.size())->root;
}

void* PageTree::Arena::Take(size_t size) {
  size = (size + kAlignment - 1) / kAlignment * kAlignment;
  if (size > left) {
    left = std::max(size, kBlockSize);
    blocks.push_back(std::make_unique_for_overwrite<char[]>(left));
    next = blocks.back().get();
  }
  void* taken = next;
  next += size;
  left -= size;
  return taken;
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
