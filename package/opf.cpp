// The package document: metadata, manifest, spine and guide of the book.
#include <algorithm>
#include <string>

#include "package/book_identifier.h"
#include "package/escape.h"
#include "package/xml_file.h"
#include "xml/xml_base.h"

namespace {

constexpr char kOpfNamespace[] = "http://www.idpf.org/2007/opf";
constexpr char kDublinCoreNamespace[] = "http://purl.org/dc/elements/1.1/";
constexpr char kIdentifierId[] = "bookid111";
constexpr char kCoverImageId[] = "cover-image";
constexpr char kCoverPageId[] = "title";
constexpr char kXhtmlMediaType[] = "application/xhtml+xml";
constexpr char kJpegMediaType[] = "image/jpeg";

constexpr struct {
  const char* extension;
  const char* mediaType;
} kMediaTypes[] = {{"html", kXhtmlMediaType}, {"jpg", kJpegMediaType}, {"css", "text/css"}};

std::string MediaTypeOf(const std::string& extension) {
  const auto* known = std::find_if(std::begin(kMediaTypes), std::end(kMediaTypes),
                                   [&](const auto& row) { return extension == row.extension; });
  return known == std::end(kMediaTypes) ? "image/" + extension : known->mediaType;
}

void AddMetadata(XMLBase& opf, const char* title, const char* author) {
  opf.AddElement("package", "metadata");
  opf.AddElement("metadata", "dc:title");
  opf.AddElement("metadata", "dc:creator");
  opf.AddElement("metadata", "dc:language");
  opf.AddTextToNode("dc:title", EscapeAmpersands(title).c_str());
  opf.AddTextToNode("dc:creator", EscapeAmpersands(author).c_str());
  opf.AddTextToNode("dc:language", "en");
  opf.AddElement("metadata", "dc:identifier", {{"id", kIdentifierId}});
  opf.AddTextToNode("dc:identifier", NewBookIdentifier().c_str());
}

}  // namespace

XMLFile::XMLFile() = default;

XMLFile::~XMLFile() = default;

void XMLFile::Destory() {
  opfDoc.reset();
  ncxDoc.reset();
  pageDoc.reset();
}

std::uint32_t XMLFile::InitOpfFile(const char* title, const char* author) {
  opfDoc = std::make_unique<XMLBase>();
  if (const std::uint32_t code = opfDoc->InitForOpf(); code != EPUB_OK) return code;
  opfDoc->AddElement(nullptr, "package",
                     {{"xmlns", kOpfNamespace},
                      {"xmlns:dc", kDublinCoreNamespace},
                      {"unique-identifier", kIdentifierId},
                      {"version", "2.0"}});
  AddMetadata(*opfDoc, title, author);
  opfDoc->AddElement("package", "manifest");
  opfDoc->AddElement(
      "manifest", "item",
      {{"id", "ncx"}, {"href", "toc.ncx"}, {"media-type", "application/x-dtbncx+xml"}});
  opfDoc->AddElement("package", "spine", {{"toc", "ncx"}});
  opfDoc->AddElement("package", "guide");
  return EPUB_OK;
}

std::uint32_t XMLFile::AddCoverToOpf(const char* coverPage, const char* coverImage) {
  if (opfDoc == nullptr) return EPUB_OK;
  opfDoc->AddElement("metadata", "meta", {{"name", "cover"}, {"content", kCoverImageId}});
  // Readers look for the picture under this type, whatever it is.
  opfDoc->AddElement("manifest", "item",
                     {{"id", kCoverImageId}, {"href", coverImage}, {"media-type", kJpegMediaType}});
  opfDoc->AddElement("manifest", "item",
                     {{"id", kCoverPageId}, {"href", coverPage}, {"media-type", kXhtmlMediaType}});
  opfDoc->AddElement("spine", "itemref", {{"idref", kCoverPageId}});
  opfDoc->AddElement("guide", "reference",
                     {{"href", coverPage}, {"type", "cover"}, {"title", "Cover"}});
  return EPUB_OK;
}

std::uint32_t XMLFile::AddRecordToOpf(const char* fileName) {
  const std::string id = "rc_" + std::to_string(recordCount++);
  if (opfDoc == nullptr || fileName == nullptr) return EPUB_OK;
  const std::string name = fileName;
  if (!opfRecords.insert(name).second) return EPUB_OK;
  const size_t dot = name.rfind('.');
  if (dot == std::string::npos) return EPUB_OK;

  const std::string mediaType = MediaTypeOf(name.substr(dot + 1));
  opfDoc->AddElement("manifest", "item",
                     {{"id", id.c_str()}, {"href", fileName}, {"media-type", mediaType.c_str()}});
  if (mediaType == kXhtmlMediaType) {
    opfDoc->AddElement("spine", "itemref", {{"idref", id.c_str()}});
  }
  return EPUB_OK;
}

std::uint32_t XMLFile::SaveOpfFile(const char* path) {
  if (opfDoc == nullptr) return EPUB_E_NO_PAGE;
  return opfDoc->SaveFile(path);
}
