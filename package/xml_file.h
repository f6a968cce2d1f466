// The documents of one book: package document, navigation document, container file and pages.
//
// Texts are NUL-terminated UTF-8. What goes into a document is kept in memory; the Save operations
// write it.
// An object is used by one thread at a time.
#ifndef KAV_EPUB_XML_FILE_H
#define KAV_EPUB_XML_FILE_H

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_set>

#include "../fileutil/export.h"
#include "../fileutil/result_codes.h"

struct NavigationRecords;
struct PackageRecords;
struct PageRecords;

// One step in building a table.
enum FormOperator {
  FormTable = 0,  // begin a table
  FormRow = 1,    // begin a row of the newest table
  FormCell = 2    // add a cell with a text to the newest row
};

// The documents of one book, or a page of it.
class KAV_EPUB_API XMLFile {
 public:
  XMLFile();
  ~XMLFile();
  XMLFile(const XMLFile&) = delete;
  XMLFile& operator=(const XMLFile&) = delete;

  // Releases all documents ahead of the destructor. The spelling is that of the interface.
  void Destory();

  // The package document (OPF 2.0.1), "content.opf".

  // Begins it with the metadata; a null text counts as empty. Always EPUB_OK. To be called before
  // the other operations on this document.
  std::uint32_t InitOpfFile(const char* title, const char* author);

  // Lists the cover's page and picture, by their references, as the beginning of the book. Always
  // EPUB_OK.
  std::uint32_t AddCoverToOpf(const char* coverPage, const char* coverImage);

  // Lists a file by its reference in the manifest, and a page (".html") also in the spine. Every
  // call takes the next identifier, but a file is listed once, and one without an extension not at
  // all. Always EPUB_OK.
  std::uint32_t AddRecordToOpf(const char* fileName);

  // Writes the document. EPUB_E_NO_PAGE when it was never begun, EPUB_E_ARGUMENT without a
  // path, EPUB_E_WRITE when the file does not take all of it or memory runs out.
  std::uint32_t SaveOpfFile(const char* path);

  // The navigation document (NCX 2005-1), "toc.ncx".

  // Begins it. Always EPUB_OK.
  std::uint32_t InitNcxFile(const char* title);

  // Takes over the identifier of the package document that another object has begun.
  KAV_EPUB_LOCAL void ShareIdentifier(const XMLFile& other);

  // Appends a navigation point that leads to src and is labelled with its number. Always EPUB_OK.
  std::uint32_t AddRecordToNcx(const char* src);

  // As SaveOpfFile.
  std::uint32_t SaveNcxFile(const char* path);

  // The container file (OCF 2.0.1), "META-INF/container.xml": writes it in one call. A code of
  // XMLBase::Init or XMLBase::SaveFile.
  std::uint32_t GenerateContainerFile(const char* path);

  // A page (XHTML 1.1). The adding operations give EPUB_E_NO_PAGE before InitHTML, else EPUB_OK;
  // references in their texts ("&amp;") become characters.

  // Begins a page. Always EPUB_OK.
  std::uint32_t InitHTML(const char* title);

  // Appends a paragraph, even an empty one.
  std::uint32_t AddTextLineToHtml(const char* text);
  // Replaces the text of the last paragraph.
  KAV_EPUB_LOCAL std::uint32_t SetLastTextLine(const char* text);

  // Appends a block with the picture at src.
  std::uint32_t AddImageToHtml(const char* src);

  // Appends the picture at href, stretched over the whole page (SVG).
  std::uint32_t AddImageToXhtml(const char* href);

  // Does one step in building a table; the text counts for FormCell only, other values of op do
  // nothing. A row without a table or a cell without a row is dropped.
  std::uint32_t AddFormToHtml(const char* text, FormOperator op);

  // Writes the page. EPUB_OK, or EPUB_E_FAILED (0xFFFFFFFF) for any failure.
  std::uint32_t SaveHtml(const char* path);

 private:
  std::unique_ptr<PackageRecords> package;
  std::unique_ptr<NavigationRecords> navigation;
  std::unique_ptr<PageRecords> page;
  std::unordered_set<std::string> opfRecords;  // of all package documents begun
  std::int32_t recordCount = 0;
};

#endif
