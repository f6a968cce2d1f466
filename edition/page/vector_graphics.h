// SVG of strangers on its way into a book.
#ifndef KAVEPUB_PAGE_VECTOR_GRAPHICS_H
#define KAVEPUB_PAGE_VECTOR_GRAPHICS_H

#include <string>
#include <string_view>

#include "edition/page/page_tree.h"

// A drawing that stands in a page, as a file of its own: elements and attributes of SVG 1.1 that
// show something by themselves. Empty where there are none.
std::string DrawingOf(const GumboNode& svg);

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
