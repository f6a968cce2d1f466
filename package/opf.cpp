// The package document: metadata, manifest, spine and guide of the book.
#include <algorithm>
#include <string>
#include <string_view>

#include "package/book_identifier.h"
#include "package/book_records.h"
#include "package/xml_file.h"

namespace {

constexpr char kOpfNamespace[] = "http://www.idpf.org/2007/opf";
constexpr char kDublinCoreNamespace[] = "http://purl.org/dc/elements/1.1/";
constexpr char kIdentifierId[] = "bookid111";
constexpr char kCoverImageId[] = "cover-image";
constexpr char kCoverPageId[] = "title";
constexpr char kXhtmlMediaType[] = "application/xhtml+xml";
constexpr char kJpegMediaType[] = "image/jpeg";

// The numbers of items that are no records.
constexpr std::int32_t kCoverImage = -1;
constexpr std::int32_t kCoverPage = -2;

constexpr struct {
  std::string_view extension;
  const char* mediaType;
} kMediaTypes[] = {{"html", kXhtmlMediaType}, {"jpg", kJpegMediaType}, {"css", "text/css"}};

std::string MediaTypeOf(std::string_view extension) {
  const auto* known = std::find_if(std::begin(kMediaTypes), std::end(kMediaTypes),
                                   [&](const auto& row) { return extension == row.extension; });
  if (known != std::end(kMediaTypes)) return known->mediaType;
  return std::string("image/").append(extension);
}

std::string IdOf(const PackageRecords::Item& item) {
  if (item.number == kCoverImage) return kCoverImageId;
  if (item.number == kCoverPage) return kCoverPageId;
  return "rc_" + std::to_string(item.number);
}

std::string MediaTypeOf(const PackageRecords::Item& item) {
  // Readers look for the cover's picture under this type, whatever it is.
  if (item.number == kCoverImage) return kJpegMediaType;
  if (item.number == kCoverPage) return kXhtmlMediaType;
  return MediaTypeOf(std::string_view(*item.href).substr(item.href->rfind('.') + 1));
}

bool IsPage(const PackageRecords::Item& item) {
  return MediaTypeOf(item) == kXhtmlMediaType;
}

void WriteMetadata(DocumentWriter& opf, const PackageRecords& package) {
  opf.Begin("metadata");
  opf.Element("dc:title", {}, package.title);
  opf.Element("dc:creator", {}, package.author);
  opf.Element("dc:language", {}, "en");
  opf.Element("dc:identifier", {{"id", kIdentifierId}}, package.identifier);
  for (const auto& item : package.items) {
    if (item.number != kCoverImage) continue;
    opf.Element("meta", {{"name", "cover"}, {"content", kCoverImageId}});
  }
  opf.End();
}

void WriteManifest(DocumentWriter& opf, const PackageRecords& package) {
  opf.Begin("manifest");
  opf.Element("item",
              {{"id", "ncx"}, {"href", "toc.ncx"}, {"media-type", "application/x-dtbncx+xml"}});
  for (const auto& item : package.items) {
    opf.Element("item", {{"id", IdOf(item).c_str()},
                         {"href", item.href->c_str()},
                         {"media-type", MediaTypeOf(item).c_str()}});
  }
  opf.End();
}

void WriteSpine(DocumentWriter& opf, const PackageRecords& package) {
  opf.Begin("spine", {{"toc", "ncx"}});
  for (const auto& item : package.items) {
    if (IsPage(item)) opf.Element("itemref", {{"idref", IdOf(item).c_str()}});
  }
  opf.End();
}

void WriteGuide(DocumentWriter& opf, const PackageRecords& package) {
  opf.Begin("guide");
  for (const auto& item : package.items) {
    if (item.number != kCoverPage) continue;
    opf.Element("reference", {{"href", item.href->c_str()}, {"type", "cover"}, {"title", "Cover"}});
  }
  opf.End();
}

void WritePackage(DocumentWriter& opf, const PackageRecords& package) {
  opf.Begin("package", {{"xmlns", kOpfNamespace},
                        {"xmlns:dc", kDublinCoreNamespace},
                        {"unique-identifier", kIdentifierId},
                        {"version", "2.0"}});
  WriteMetadata(opf, package);
  WriteManifest(opf, package);
  WriteSpine(opf, package);
  WriteGuide(opf, package);
  opf.End();
}

}  // namespace

XMLFile::XMLFile() = default;

XMLFile::~XMLFile() = default;

void XMLFile::Destory() {
  package.reset();
  navigation.reset();
  page.reset();
}

std::uint32_t XMLFile::InitOpfFile(const char* title, const char* author) {
  package = std::make_unique<PackageRecords>();
  package->title = TextOf(title);
  package->author = TextOf(author);
  package->identifier = NewBookIdentifier();
  return EPUB_OK;
}

std::uint32_t XMLFile::AddCoverToOpf(const char* coverPage, const char* coverImage) {
  if (package == nullptr) return EPUB_OK;
  KeepIn(*package, [&] {
    auto& names = package->coverNames;
    names.emplace_back(TextOf(coverImage));
    package->items.push_back({kCoverImage, &names.back()});
    names.emplace_back(TextOf(coverPage));
    package->items.push_back({kCoverPage, &names.back()});
  });
  return EPUB_OK;
}

std::uint32_t XMLFile::AddRecordToOpf(const char* fileName) {
  const std::int32_t number = recordCount++;
  if (package == nullptr || fileName == nullptr) return EPUB_OK;
  KeepIn(*package, [&] {
    const auto [name, isNew] = opfRecords.emplace(fileName);
    if (isNew && name->find('.') != std::string::npos) package->items.push_back({number, &*name});
  });
  return EPUB_OK;
}

std::uint32_t XMLFile::SaveOpfFile(const char* path) {
  return Save(package.get(), path, DocumentWriter::Type::kNone, WritePackage);
}
