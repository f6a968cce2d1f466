// A page as it was read: its body for the book, and what it says of itself and of others.
#ifndef KAVEPUB_PAGE_PAGE_H
#define KAVEPUB_PAGE_PAGE_H

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "edition/book/metadata.h"
#include "edition/page/markup_writer.h"

inline constexpr size_t kNoPart = SIZE_MAX;

// What takes the place of a reference mark in the body.
struct PageReference {
  enum class Kind : std::uint8_t {
    kLink,      // an attribute, or none
    kPicture,   // an element, or its alternative text
    kDrawing,   // the same of SVG that stands in the page
    kStyleFile  // "url(...)" in an attribute
  };
  Kind kind;
  std::vector<std::string> targets;  // as written, the best one first; of a drawing
                                     // its file, and what it shows
  std::string attributes;            // of a picture, but for its source
  std::string alternative;           // likewise
  std::string id;                    // likewise; stays where the picture is not there
};

// A link to another page, or a frame that shows one, in the order of the page.
struct PageLink {
  std::string target;
  unsigned depth = 0;  // of the lists that it stands in
  size_t part = kNoPart;
};

struct PageHeading {
  unsigned level;
  std::string title;
  std::string id;
};

// A part that may be the same on all pages of a site.
struct PagePart {
  std::string sameness;    // equal for parts that do the same on their pages
  bool leads = false;      // most of it is links
  std::string title;       // its first-level headings, which may be that of the page
  std::uint64_t text = 1;  // equal for equal texts
};

struct PageSheet {
  bool isInline;
  std::string text;  // or the reference to it
};

struct HtmlPage {
  PageMarkup markup;
  std::vector<PageReference> references;
  std::vector<PagePart> parts;
  std::unordered_map<std::string, size_t> ids;  // of the body, and the part that each is in
  std::vector<PageHeading> headings;
  std::vector<PageLink> links;
  std::uint32_t ownText = 0;  // letters outside links
  std::vector<PageSheet> sheets;

  Metadata facts;
  std::string base;  // what its references are relative to, where it says so
  std::string next;  // pages that it names by their part, likewise up
  std::string up;

  std::string bodyId;
  std::string bodyClass;
  std::string bodyStyle;
};

#endif
