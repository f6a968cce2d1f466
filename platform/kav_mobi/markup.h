// What the old and the new format of a book's markup have to say in their own ways.
#ifndef KAV_MOBI_MARKUP_H
#define KAV_MOBI_MARKUP_H

#include <cstddef>
#include <memory>
#include <optional>

#include "base/mobi/reader.h"
#include "base/mobi/tags.h"

namespace kav_mobi {

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

}  // namespace kav_mobi

#endif
