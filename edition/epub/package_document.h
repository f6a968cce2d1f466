// The package document (OPF 2.0): what the book is, what it has, and in which order it is read.
#ifndef KAVEPUB_EPUB_PACKAGE_DOCUMENT_H
#define KAVEPUB_EPUB_PACKAGE_DOCUMENT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "edition/book/document.h"
#include "edition/book/metadata.h"

inline constexpr char kNavigationName[] = "toc.ncx";
inline constexpr char kCoverPageName[] = "cover.xhtml";

// What is kept of a document once its pages are written.
struct DocumentRecord {
  std::uint32_t pages;
  Document::Role role;
};

struct ManifestFile {
  std::string name;
  std::string mediaType;
};

struct PackageParts {
  std::vector<DocumentRecord> documents;  // in reading order
  std::vector<ManifestFile> files;        // all else that pages show or use
  size_t coverFile = kNoCover;            // among them
  std::string coverPage;                  // that shows it, one of its own or of a document
  bool hasPictures = false;               // beside the cover
  size_t contentsPages = 0;

  static constexpr size_t kNoCover = SIZE_MAX;
};

// The name of a page of the contents, from 0.
std::string ContentsName(size_t page);

// The elements of the metadata but for the identifier made for this book.
std::string MetadataElements(const Metadata& metadata, const PackageParts& parts);

std::string PackageDocument(std::string_view metadataElements, std::string_view identifier,
                            const PackageParts& parts);

#endif
