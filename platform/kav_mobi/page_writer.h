// Writing of the page: an HTML document that is always well nested and always UTF-8.
#ifndef KAV_MOBI_PAGE_WRITER_H
#define KAV_MOBI_PAGE_WRITER_H

#include <string>
#include <vector>

#include "base/mobi/encoding.h"
#include "base/mobi/tags.h"
#include "base/output_file.h"

namespace kav_mobi {

// Turns text with its tags into a page. Elements that overlap, are never closed, stand where they
// may not or are nested deeper than a reader follows are brought into order; no text is lost by it.
class PageWriter {
 public:
  PageWriter(OutputFile& output, uint32_t codePage);

  void Begin(std::string_view title);
  void End();

  // Text as it stands in the book, with its character references.
  void Text(Bytes raw);
  // A start tag with attributes that are written already.
  void Start(const Element& element, std::string_view attributes);
  void Finish(const Element& element);
  // Elements without content.
  void Single(const Element& element, std::string_view attributes);
  // Markup that may stand wherever text may.
  void InlineMarkup(std::string_view markup);

  // The value of an attribute as it may stand between quotation marks.
  std::string AttributeValue(Bytes raw);

 private:
  struct Open {
    const Element* element;
    std::string_view written;
  };

  void Push(const Element& element, std::string_view written, std::string_view attributes);
  void PopTo(size_t depth);
  void OpenFlow();
  void CloseParagraph();
  bool MakeRoomFor(const Element& item);

  OutputFile& file;
  TextDecoder decoder;
  std::vector<Open> open;
  size_t tooDeep = 0;  // elements left out that are still to be closed
  std::string decoded;
  std::string escaped;
};

}  // namespace kav_mobi

#endif
