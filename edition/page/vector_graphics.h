// SVG of strangers on its way into a book.
#ifndef KAVEPUB_PAGE_VECTOR_GRAPHICS_H
#define KAVEPUB_PAGE_VECTOR_GRAPHICS_H

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>

#include "edition/page/page_tree.h"

// What drawings of a page have, so that others may show it.
class DrawingParts {
 public:
  explicit DrawingParts(const GumboNode& page);

  // By its id; nothing where there is none, or when too much was shown again already.
  const GumboNode* Find(const std::string& id) const;
  void Charge(size_t bytes);

 private:
  std::unordered_map<std::string, const GumboNode*> nodes;
  size_t left;
};

// A drawing that stands in a page, as a file of its own: elements and attributes of SVG 1.1 that
// show something by themselves, and parts of other drawings that they show. Empty where there are
// none.
std::string DrawingOf(const GumboNode& svg, DrawingParts& others);

// What it shows, in words; empty where it does not say.
std::string TitleOfDrawing(const GumboNode& svg);

// The same of a file, what it is called, and whether all of it could be read. Empty when it is
// none.
struct CleanedDrawing {
  std::string file;
  std::string title;
  bool isWhole = false;
};
CleanedDrawing CleanDrawing(std::string_view file);

#endif
