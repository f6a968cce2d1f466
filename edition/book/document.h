// The parts of a book that are read one after the other.
#ifndef KAVEPUB_BOOK_DOCUMENT_H
#define KAVEPUB_BOOK_DOCUMENT_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// Blocks of text that follow each other.
struct BlockRun {
  std::string body;            // well-formed XHTML 1.1 flow content in UTF-8
  std::vector<size_t> breaks;  // offsets between two of its blocks, ascending: a page may end there
};

// A chapter, a title page, a picture: what begins a page of its own.
struct Document : BlockRun {
  enum class Role {
    kText,
    kCover,        // a picture alone, which stands for the book unless it has another cover
    kPicture,      // a picture alone
    kTitlePage,    // before everything else
    kFrontMatter,  // before the place where reading begins
    kContents,     // the book's own contents page, in the place of one made from its entries
    kBackMatter
  };

  std::string title;     // plain text, for the head of its pages; empty for that of the book
  std::string language;  // where it differs from that of the book
  Role role = Role::kText;
  std::string picture;  // of a cover: the reference to the file that it shows

  // How its source shows it, in the place of the book's own style.
  struct Look {
    std::vector<std::string> sheets;  // references to them, in order
    std::string id;                   // of the body, and likewise its class and its style
    std::string styleClass;
    std::string style;
  };
  std::optional<Look> look;
};

// An entry of the contents and those below it.
struct ContentsEntry {
  std::string title;
  size_t document = 0;     // its number, from 0
  std::string anchor;      // an id in it; empty for its beginning
  std::uint64_t line = 0;  // of a text, from 1
  std::vector<ContentsEntry> children;
  bool isOnPage = true;  // of the contents, and not only in the navigation of the reader
};

// A file that documents show or use: a picture, a font, a style sheet.
struct Resource {
  std::string name;       // that it had; the book's may differ
  std::string mediaType;  // of a picture its content tells
  std::string bytes;
};

#endif
