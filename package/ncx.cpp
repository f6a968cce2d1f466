// The navigation document: one numbered navigation point for each page of the book.
#include <string>

#include "package/book_identifier.h"
#include "package/book_records.h"
#include "package/xml_file.h"

namespace {

constexpr char kNcxNamespace[] = "http://www.daisy.org/z3986/2005/ncx/";

void WriteHead(DocumentWriter& ncx, const NavigationRecords& navigation) {
  const DocumentWriter::Attribute metadata[] = {{"dtb:uid", navigation.identifier.c_str()},
                                                {"dtb:depth", "2"},
                                                {"dtb:totalPageCount", "0"},
                                                {"dtb:maxPageNumber", "0"}};
  ncx.Begin("head");
  for (const auto& [name, content] : metadata) {
    ncx.Element("meta", {{"name", name}, {"content", content}});
  }
  ncx.End();
}

void WriteLabel(DocumentWriter& ncx, const char* name, const std::string& text) {
  ncx.Begin(name);
  ncx.Element("text", {}, text);
  ncx.End();
}

void WritePoint(DocumentWriter& ncx, size_t order, const std::string& source) {
  const std::string number = std::to_string(order);
  const std::string id = "c" + number;
  ncx.Begin("navPoint", {{"id", id.c_str()}, {"playOrder", number.c_str()}});
  WriteLabel(ncx, "navLabel", number);
  ncx.Element("content", {{"src", source.c_str()}});
  ncx.End();
}

void WriteNavigation(DocumentWriter& ncx, const NavigationRecords& navigation) {
  ncx.Begin("ncx", {{"xmlns", kNcxNamespace}, {"version", "2005-1"}});
  WriteHead(ncx, navigation);
  WriteLabel(ncx, "docTitle", navigation.title);
  ncx.Begin("navMap");
  size_t order = 0;
  for (const std::string& source : navigation.sources) WritePoint(ncx, ++order, source);
  ncx.End();
  ncx.End();
}

}  // namespace

std::uint32_t XMLFile::InitNcxFile(const char* title) {
  navigation = std::make_unique<NavigationRecords>();
  navigation->title = TextOf(title);
  navigation->identifier = NewBookIdentifier();
  return EPUB_OK;
}

void XMLFile::ShareIdentifier(const XMLFile& other) {
  navigation->identifier = other.package->identifier;
}

std::uint32_t XMLFile::AddRecordToNcx(const char* src) {
  if (navigation == nullptr) return EPUB_OK;
  KeepIn(*navigation, [&] { navigation->sources.emplace_back(TextOf(src)); });
  return EPUB_OK;
}

std::uint32_t XMLFile::SaveNcxFile(const char* path) {
  return Save(navigation.get(), path, DocumentWriter::Type::kXhtml11, WriteNavigation);
}
