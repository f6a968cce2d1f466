// What the old and the new format of a book's markup have to say in their own ways.
#ifndef KAV_MOBI_MARKUP_H
#define KAV_MOBI_MARKUP_H

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/kav_mobi/reader.h"
#include "platform/kav_mobi/tags.h"

namespace kav_mobi {

// A word that an entry of a dictionary explains, and where in the text the entry begins.
struct Headword {
  size_t position;
  std::string markup;  // of the word, as it may stand on a page
};

class Markup {
 public:
  virtual ~Markup() = default;
  Markup(const Markup&) = delete;
  Markup& operator=(const Markup&) = delete;

  // The book's markup in reading order. Positions below count its bytes.
  virtual Bytes Text() const = 0;
  // Where the document that holds the position begins: names of places are unique in one document.
  virtual size_t DocumentStart(size_t position) const = 0;
  // The position that a link with these attributes leads to, if it leads into the book by position.
  virtual std::optional<size_t> LinkTarget(const Attributes& attributes) const = 0;
  // The resource that a picture shows, counted from 1; 0 for none.
  virtual size_t PictureNumber(const Attributes& attributes) const = 0;
  // The markup of the drawing that a picture shows; empty for none.
  virtual Bytes Drawing(const Attributes& attributes) const = 0;

 protected:
  Markup() = default;
};

std::unique_ptr<Markup> MakeKf7Markup(const Book& book);
std::unique_ptr<Markup> MakeKf8Markup(const Book& book);

// The headwords of a dictionary, in the order of their positions; none for another book.
std::vector<Headword> HeadwordsOf(const Book& book, Bytes text);

}  // namespace kav_mobi

#endif
