// SVG of strangers on its way into a book.
#ifndef KAVEPUB_PAGE_VECTOR_GRAPHICS_H
#define KAVEPUB_PAGE_VECTOR_GRAPHICS_H

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

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
// none. Behind the file are the references to the pictures that it shows, whose places are marked.
std::vector<std::string> DrawingOf(const GumboNode& svg, DrawingParts& others);

// That file with its pictures, which uriOf(reference) makes data URIs, as a drawing that is shown
// alone can name no other file; those without one become empty.
template <typename UriOf>
std::string WithPictures(const std::vector<std::string>& drawing, UriOf uriOf);

// What a drawing refers to that shows nothing but a picture, as covers often do; empty for others.
std::string_view OnlyPictureOf(const GumboNode& svg);

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

// Of one transparent point, as drawings have to name a picture where they could have one.
inline constexpr std::string_view kEmptyPicture =
    "data:image/gif;base64,R0lGODlhAQABAIAAAAAAAP///yH5BAEAAAAALAAAAAABAAEAAAIBRAA7";

// How pictures of other files are marked; no other attribute is written like it.
inline constexpr std::string_view kPictureMark = " xlink:href=\"picture:\"";

template <typename UriOf>
std::string WithPictures(const std::vector<std::string>& drawing, UriOf uriOf) {
  const std::string_view file = drawing.front();
  std::string whole;
  size_t taken = 0;
  for (size_t picture = 1; picture < drawing.size(); ++picture) {
    const size_t mark = file.find(kPictureMark, taken);
    whole += file.substr(taken, mark - taken);
    taken = mark + kPictureMark.size();
    const std::string uri = uriOf(drawing[picture]);
    whole.append(" xlink:href=\"")
        .append(uri.empty() ? kEmptyPicture : std::string_view(uri))
        .append("\"");
  }
  return whole.append(file.substr(taken));
}

#endif
