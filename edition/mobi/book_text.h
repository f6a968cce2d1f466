// The text of a MOBI book as one string of bytes, and the positions in it that references name.
#ifndef KAVEPUB_MOBI_BOOK_TEXT_H
#define KAVEPUB_MOBI_BOOK_TEXT_H

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

#include "base/mobi/reader.h"
#include "base/mobi/tags.h"

// What links by position become, in books that have an attribute of their own for them.
inline constexpr std::string_view kFileReference = "filepos:";

// What pictures become that a book names by the number of a record.
inline constexpr std::string_view kRecordReference = "record:";

inline constexpr std::string_view kFlowReference = "kindle:flow:";

class BookText {
 public:
  struct Part {
    size_t begin;
    std::string_view text;
  };

  // The book has to stay.
  explicit BookText(const kav_mobi::Book& source);

  const kav_mobi::Book& Book() const { return book; }
  bool IsNew() const { return book.IsKf8(); }
  size_t Size() const { return size; }
  const std::vector<Part>& Parts() const { return parts; }

  // From a position on to the end of its part.
  std::string_view From(size_t position) const;

  // The position that a link leads to; nothing for other links, and for those out of the text.
  std::optional<size_t> PositionOf(std::string_view link) const;
  std::optional<size_t> PositionOf(size_t fragment, size_t offset) const;

  // Style sheets and drawings that stand behind the text; empty for another number.
  std::string_view Flow(size_t number) const;

  // The resource that a reference to a picture names, also by a drawing that shows nothing else; 0
  // where it names none.
  size_t PictureOf(std::string_view reference) const;

 private:
  const kav_mobi::Book& book;
  std::vector<Part> parts;
  std::vector<std::string_view> flows;
  std::vector<size_t> fragments;  // where each begins
  size_t size = 0;
};

// A number with any zeros before it; nothing for what begins with no digit.
std::optional<size_t> DecimalOf(std::string_view text);

// What the attributes of a picture or a link refer to, as a reference; empty for nothing.
std::string_view SourceOf(const kav_mobi::Attributes& attributes);

#endif
