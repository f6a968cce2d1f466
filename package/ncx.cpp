// The navigation document: one numbered navigation point for each page of the book.
#include <string>

#include "package/book_identifier.h"
#include "package/escape.h"
#include "package/xml_file.h"
#include "xml/xml_base.h"

namespace {

constexpr char kNcxNamespace[] = "http://www.daisy.org/z3986/2005/ncx/";

}  // namespace

std::uint32_t XMLFile::InitNcxFile(const char* title) {
  navOrder = 1;
  ncxDoc = std::make_unique<XMLBase>();
  if (const std::uint32_t code = ncxDoc->Init(); code != EPUB_OK) return code;
  ncxDoc->AddElement(nullptr, "ncx", {{"xmlns", kNcxNamespace}, {"version", "2005-1"}});
  ncxDoc->AddElement("ncx", "head");
  const std::string identifier = NewBookIdentifier();
  const XmlAttribute metadata[] = {{"dtb:uid", identifier.c_str()},
                                   {"dtb:depth", "2"},
                                   {"dtb:totalPageCount", "0"},
                                   {"dtb:maxPageNumber", "0"}};
  for (const auto& [name, content] : metadata) {
    ncxDoc->AddElement("head", "meta", {{"name", name}, {"content", content}});
  }
  ncxDoc->AddElement("ncx", "docTitle");
  ncxDoc->AddElement("docTitle", "text");
  ncxDoc->AddTextToNode("text", EscapeAmpersands(title).c_str());
  ncxDoc->AddElement("ncx", "navMap");
  return EPUB_OK;
}

std::uint32_t XMLFile::AddRecordToNcx(const char* src) {
  if (ncxDoc == nullptr) return EPUB_OK;
  const std::string number = std::to_string(navOrder++);
  const std::string id = "c" + number;
  // Each path finds the newest element of its name, so all of this lands in the new point.
  ncxDoc->AddElement("navMap", "navPoint", {{"id", id.c_str()}, {"playOrder", number.c_str()}});
  ncxDoc->AddElement("navPoint", "navLabel");
  ncxDoc->AddElement("navLabel", "text");
  ncxDoc->AddTextToNode("text", number.c_str());
  ncxDoc->AddElement("navPoint", "content", {{"src", src}});
  return EPUB_OK;
}

std::uint32_t XMLFile::SaveNcxFile(const char* path) {
  if (ncxDoc == nullptr) return EPUB_E_NO_PAGE;
  return ncxDoc->SaveFile(path);
}
