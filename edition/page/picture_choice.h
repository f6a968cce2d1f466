// The best of the files that a page offers for one picture.
#ifndef KAVEPUB_PAGE_PICTURE_CHOICE_H
#define KAVEPUB_PAGE_PICTURE_CHOICE_H

#include <string>
#include <string_view>
#include <vector>

#include "edition/page/page_tree.h"

// Whether elements of a name may show a picture.
bool IsPictureElement(std::string_view name);

// As they are written, the best one first; none for what shows something else.
std::vector<std::string> PictureTargets(const GumboNode& element, std::string_view name);

#endif
