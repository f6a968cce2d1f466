// The package document (OPF 2.0): what the book is, what it has, and in which order it is read.
#include "edition/epub/package_document.h"

#include <algorithm>
#include <array>

#include "edition/book/markup.h"
#include "edition/epub/page.h"

namespace {

constexpr std::string_view kPackageBegin =
    "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
    "<package xmlns=\"http://www.idpf.org/2007/opf\" version=\"2.0\" "
    "unique-identifier=\"identifier\">\n"
    "<metadata xmlns:dc=\"http://purl.org/dc/elements/1.1/\" "
    "xmlns:opf=\"http://www.idpf.org/2007/opf\">\n";

constexpr char kCoverId[] = "cover-picture";
constexpr char kNcxType[] = "application/x-dtbncx+xml";

void PutAttribute(std::string_view name, std::string_view value, std::string& opf) {
  if (value.empty()) return;
  opf.append(" ").append(name).append("=\"");
  AppendEscaped(value, opf);
  opf += '"';
}

void PutElement(std::string_view name, std::string_view text, std::string& opf) {
  if (text.empty()) return;
  opf.append("<").append(name).append(">");
  AppendEscaped(text, opf);
  opf.append("</").append(name).append(">\n");
}

void PutMeta(std::string_view name, std::string_view content, std::string& opf) {
  if (content.empty()) return;
  opf += "<meta";
  PutAttribute("name", name, opf);
  PutAttribute("content", content, opf);
  opf += "/>\n";
}

void PutContributor(const Contributor& contributor, std::string& opf) {
  const char* element = contributor.role == kAuthorRole ? "dc:creator" : "dc:contributor";
  opf.append("<").append(element);
  PutAttribute("opf:role", contributor.role, opf);
  PutAttribute("opf:file-as", contributor.fileAs, opf);
  opf += '>';
  AppendEscaped(contributor.name, opf);
  opf.append("</").append(element).append(">\n");
}

void PutIdentifier(const Identifier& identifier, std::string& opf) {
  opf += "<dc:identifier";
  PutAttribute("opf:scheme", identifier.scheme, opf);
  opf += '>';
  AppendEscaped(identifier.value, opf);
  opf += "</dc:identifier>\n";
}

// EPUB Accessibility 1.1, as publications of EPUB 2 state it.
void PutAccessibility(const PackageParts& parts, std::string& opf) {
  PutMeta("schema:accessMode", "textual", opf);
  if (parts.hasPictures) {
    PutMeta("schema:accessMode", "visual", opf);
    PutMeta("schema:accessModeSufficient", "textual,visual", opf);
    PutMeta("schema:accessibilityFeature", "alternativeText", opf);
  } else {
    PutMeta("schema:accessModeSufficient", "textual", opf);
  }
  PutMeta("schema:accessibilityFeature", "readingOrder", opf);
  PutMeta("schema:accessibilityFeature", "displayTransformability", opf);
  if (parts.contentsPages > 0) PutMeta("schema:accessibilityFeature", "tableOfContents", opf);
  PutMeta("schema:accessibilityHazard", "none", opf);
}

void PutItem(std::string_view id, std::string_view name, std::string_view type, std::string& opf) {
  opf += "<item";
  PutAttribute("id", id, opf);
  PutAttribute("href", name, opf);
  PutAttribute("media-type", type, opf);
  opf += "/>\n";
}

void PutReference(std::string_view type, std::string_view name, std::string& opf) {
  opf += "<reference";
  PutAttribute("type", type, opf);
  PutAttribute("href", name, opf);
  opf += "/>\n";
}

std::string_view IdOfPage(std::string_view name) {
  return name.substr(0, name.size() - std::string_view(kPageSuffix).size());
}

bool HasCover(const PackageParts& parts) {
  return parts.coverFile != PackageParts::kNoCover;
}

// The number of documents that come before the contents.
size_t TitlePages(const std::vector<DocumentRecord>& documents) {
  const auto first = std::find_if(documents.begin(), documents.end(), [](const auto& document) {
    return document.role != Document::Role::kTitlePage && document.role != Document::Role::kCover;
  });
  return static_cast<size_t>(first - documents.begin());
}

// Calls visit(name) for all pages in reading order.
template <typename Visitor>
void ForEachPage(const PackageParts& parts, Visitor visit) {
  if (parts.coverPage == kCoverPageName) visit(kCoverPageName);
  const size_t titlePages = TitlePages(parts.documents);
  for (size_t number = 0; number <= parts.documents.size(); ++number) {
    if (number == titlePages) {
      for (size_t page = 0; page < parts.contentsPages; ++page) visit(ContentsName(page));
    }
    if (number == parts.documents.size()) break;
    for (size_t page = 0; page < parts.documents[number].pages; ++page) {
      visit(PageName(number, page));
    }
  }
}

void PutGuide(const PackageParts& parts, std::string& opf) {
  constexpr struct {
    Document::Role role;
    const char* type;
  } kReferences[] = {{Document::Role::kTitlePage, "title-page"},
                     {Document::Role::kContents, "toc"},
                     {Document::Role::kText, "text"},
                     {Document::Role::kPicture, "text"}};

  std::string references;
  if (HasCover(parts)) PutReference("cover", parts.coverPage, references);
  if (parts.contentsPages > 0) PutReference("toc", ContentsName(0), references);
  for (const auto& [role, type] : kReferences) {
    const auto document =
        std::find_if(parts.documents.begin(), parts.documents.end(),
                     [wanted = role](const auto& record) { return record.role == wanted; });
    if (document == parts.documents.end()) continue;
    const auto number = static_cast<size_t>(document - parts.documents.begin());
    PutReference(type, PageName(number), references);
  }
  if (!references.empty()) opf.append("<guide>\n").append(references).append("</guide>\n");
}

}  // namespace

std::string ContentsName(size_t page) {
  std::string name = "contents";
  if (page > 0) name.append("-").append(std::to_string(page + 1));
  return name + kPageSuffix;
}

std::string MetadataElements(const Metadata& metadata, const PackageParts& parts) {
  std::string opf;
  PutElement("dc:title", metadata.title, opf);
  for (const Contributor& contributor : metadata.contributors) PutContributor(contributor, opf);
  PutElement("dc:language", metadata.language, opf);
  for (const Identifier& identifier : metadata.identifiers) PutIdentifier(identifier, opf);
  PutElement("dc:publisher", metadata.publisher, opf);
  PutElement("dc:date", metadata.date, opf);
  PutElement("dc:description", metadata.description, opf);
  for (const std::string& subject : metadata.subjects) PutElement("dc:subject", subject, opf);
  PutElement("dc:rights", metadata.rights, opf);
  PutMeta("calibre:series", metadata.series, opf);
  PutMeta("calibre:series_index", metadata.seriesIndex, opf);
  if (HasCover(parts)) PutMeta("cover", kCoverId, opf);
  PutAccessibility(parts, opf);
  return opf;
}

std::string PackageDocument(std::string_view metadataElements, std::string_view identifier,
                            const PackageParts& parts) {
  std::string opf(kPackageBegin);
  opf.append("<dc:identifier id=\"identifier\" opf:scheme=\"UUID\">").append(identifier);
  opf.append("</dc:identifier>\n").append(metadataElements).append("</metadata>\n<manifest>\n");
  PutItem("ncx", kNavigationName, kNcxType, opf);
  PutItem("style", kStyleSheetName, kCssType, opf);
  ForEachPage(parts,
              [&](const std::string& name) { PutItem(IdOfPage(name), name, kXhtmlType, opf); });
  for (size_t number = 0; number < parts.files.size(); ++number) {
    const ManifestFile& file = parts.files[number];
    const std::string id =
        number == parts.coverFile ? kCoverId : "file-" + std::to_string(number + 1);
    PutItem(id, file.name, file.mediaType, opf);
  }
  opf += "</manifest>\n<spine toc=\"ncx\">\n";
  ForEachPage(parts, [&](const std::string& name) {
    opf += "<itemref";
    PutAttribute("idref", IdOfPage(name), opf);
    opf += "/>\n";
  });
  opf += "</spine>\n";
  PutGuide(parts, opf);
  return opf.append("</package>\n");
}
