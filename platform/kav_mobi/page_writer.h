// Writing of the page: an HTML document that is always well nested and always UTF-8.
#ifndef KAV_MOBI_PAGE_WRITER_H
#define KAV_MOBI_PAGE_WRITER_H

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "encoding.h"
#include "tags.h"

namespace kav_mobi {

// A file written through one buffer; a failure is remembered.
class OutputFile {
 public:
  explicit OutputFile(const std::string& path);

  void write(std::string_view text);
  // Completes the file; whether all of it was written.
  bool close();

 private:
  struct Close {
    void operator()(FILE* file) const { (void)fclose(file); }
  };
  std::unique_ptr<FILE, Close> file_;
  bool failed_;
};

// Turns text with its tags into a page. Elements that overlap, are never closed, stand where they
// may not or are nested deeper than a reader follows are brought into order; no text is lost by it.
class PageWriter {
 public:
  PageWriter(OutputFile& file, uint32_t codePage);

  void begin(std::string_view title);
  void end();

  // Text as it stands in the book, with its character references.
  void text(Bytes raw);
  // A start tag with attributes that are written already.
  void start(const Element& element, std::string_view attributes);
  void finish(const Element& element);
  // Elements without content.
  void single(const Element& element, std::string_view attributes);
  // Markup that may stand wherever text may.
  void inlineMarkup(std::string_view markup);

  // The value of an attribute as it may stand between quotation marks.
  std::string attributeValue(Bytes raw);

 private:
  struct Open {
    const Element* element;
    std::string_view written;
  };

  void push(const Element& element, std::string_view written, std::string_view attributes);
  void popTo(size_t depth);
  void openFlow();
  void closeParagraph();
  bool makeRoomFor(const Element& item);
  void escape(std::string_view utf8, std::string& out) const;

  OutputFile& file_;
  TextDecoder decoder_;
  std::vector<Open> open_;
  size_t tooDeep_ = 0;  // elements left out that are still to be closed
  std::string decoded_;
  std::string escaped_;
};

}  // namespace kav_mobi

#endif
