// What the old and the new format of a book's markup have to say in their own ways.
#ifndef KAV_MOBI_MARKUP_H
#define KAV_MOBI_MARKUP_H

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "reader.h"
#include "tags.h"

namespace kav_mobi {

// A word that an entry of a dictionary explains, and where in the text the entry begins.
struct Headword {
  size_t position;
  std::string word;  // UTF-8
};

class Markup {
 public:
  virtual ~Markup() = default;
  Markup(const Markup&) = delete;
  Markup& operator=(const Markup&) = delete;

  // The book's markup in reading order. Positions below count its bytes.
  virtual Bytes text() const = 0;
  // Where the document that holds the position begins: names of places are unique in one document.
  virtual size_t documentStart(size_t position) const = 0;
  // The position that a link with these attributes leads to, if it leads into the book by position.
  virtual std::optional<size_t> linkTarget(const Attributes& attributes) const = 0;
  // The resource that a picture shows, counted from 1; 0 for none.
  virtual size_t pictureNumber(const Attributes& attributes) const = 0;
  // The markup of the drawing that a picture shows; empty for none.
  virtual Bytes drawing(const Attributes& attributes) const = 0;

 protected:
  Markup() = default;
};

std::unique_ptr<Markup> makeKf7Markup(const Book& book);
std::unique_ptr<Markup> makeKf8Markup(const Book& book);

// The headwords of a dictionary, in the order of their positions; none for another book.
std::vector<Headword> headwordsOf(const Book& book, Bytes text);

}  // namespace kav_mobi

#endif
