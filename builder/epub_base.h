// The book builder: lays out a working directory, fills it with pages and packs it into a book.
//
// Order of calls: Init once, then pages, pictures and imports, then GenerateEpub, then ClearData.
// Strings are NUL-terminated and borrowed for the call. Operations return EPUB_OK or a code of
// result_codes.h. A builder is used by one thread at a time; two builders need different roots.
//
// A page or picture that could not be written whole does not stop the book from growing, but
// GenerateEpub then reports EPUB_E_WRITE instead of packing it.
#ifndef KAV_EPUB_EPUB_BASE_H
#define KAV_EPUB_EPUB_BASE_H

#include <cstdint>
#include <memory>
#include <string>

#include "../fileutil/export.h"
#include "../fileutil/result_codes.h"
#include "../fileutil/version.h"
#include "../package/xml_file.h"

// The fragments of the default style sheet, ended by "###".
KAV_EPUB_API extern const char* const kCssRes[23];

// One book in the making.
class KAV_EPUB_API EpubBase {
 public:
  EpubBase();
  // Leaves the working directory where it is.
  ~EpubBase();
  // The version of the library that is loaded, as KAV_EPUB_VERSION_NUMBER is that of the headers.
  static int LibraryVersion();

  EpubBase(const EpubBase&) = delete;
  EpubBase& operator=(const EpubBase&) = delete;

  // Releases the documents ahead of the destructor. The spelling is that of the interface.
  void Destory();

  // Makes the working directory "epub_temp" below root, in place of one that is there, with the
  // fixed files of a book; begins the package and navigation documents. A null title or author
  // counts as empty. EPUB_E_MISSING when root is null or empty or does not exist; EPUB_E_OPEN or
  // EPUB_E_STYLE_SHEET when a file cannot be created; codes of XMLFile.
  int Init(const char* root, const char* title, const char* author);

  // The two fixed files that Init writes. EPUB_E_OPEN, or EPUB_E_STYLE_SHEET, when the file cannot
  // be created.
  int GenerateMimetypeFile();
  int GenerateCSSFile();

  // Begins the next numbered page.
  int StartPage();

  // Adds one line of a plain text, as read, with its line feed. It begins a new paragraph or
  // continues the one being gathered. EPUB_E_EMPTY_LINE for a null or empty line;
  // EPUB_E_NO_TEXT_PAGE when a paragraph begins and no page is open.
  int AddTextLineToPage(const char* line);

  // Decides whether a line begins a paragraph (1) or continues one (0), and cleans its text into
  // out. The counts, in bytes, are those of the lines before on this page and are updated: the
  // indentation and length of the previous line, the length of the longest one.
  // EPUB_E_EMPTY_LINE, and an empty out, for a null or empty line.
  int LineProc(const char* line, std::string& out, int& prevIndent, int& prevLineLen,
               int& maxLineLen);

  // Does one step in building a table, see FormOperator; it stands before the paragraph that is
  // being gathered. EPUB_E_FAILED when no page is open.
  int AddFormToPage(const char* text, FormOperator op);

  // Writes and lists the page. EPUB_E_NO_PAGE when none is open.
  int EndPage();

  // Make a picture the cover, a page of its own (between pages only), or a block on the open page.
  // The picture is copied under its own base name. EPUB_E_MISSING when it is no existing file;
  // codes of CopyFile. A cover that is no ".jpeg", ".jpg", ".png" or ".gif", and a ".wmf" picture
  // on a page, are skipped with EPUB_OK. A cover path without any "." throws std::out_of_range.
  // AddImageToPage: EPUB_E_NO_PAGE when no page is open.
  int AddCoverImageToEpub(const char* imagePath);
  int AddImageToEpub(const char* imagePath);
  int AddImageToPage(const char* imagePath);

  // Imports an HTML file as the next numbered page, cleaned up to XHTML 1.0 Strict, with the local
  // pages and files that can be reached from it; these keep their base names, or get the next free
  // ones. Each file is imported once in a call. What lies outside the directory of the file (the
  // current one when the path has none) counts as missing. EPUB_E_OPEN when the file cannot be
  // read; EPUB_E_NOT_FOUND when it has no body; EPUB_E_MISSING without the DTD in the working
  // directory; EPUB_E_NO_PAGE when Init failed. Failures of other files than the first are ignored.
  int AddHTHLToEpub(const char* htmlPath);

  // The same with the path of the page file to write; what can be reached is written beside it.
  int GenerateNewHtml(const char* srcPath, const char* destPath);

  // Lets imports follow references into this directory too, and below; null takes that back.
  void SetImportRoot(const char* directory);

  // Lets imports read pages without a byte order mark in this encoding, whatever they declare, by a
  // name that iconv knows; null, or an unknown one, takes that back.
  void SetImportEncoding(const char* encoding);

  // Appends rules to the style sheet of the book as they are; a null text appends nothing.
  // EPUB_E_FAILED when it does not take all of them; EPUB_OK even when it cannot be opened.
  int AppendPropToCSS(const char* text);

  // Writes the package and navigation documents and packs the book into outputPath, which appears
  // whole or not at all. May be called again. EPUB_E_ARGUMENT without a path; EPUB_E_NO_PAGE when
  // Init failed; EPUB_E_WRITE when a part of the book could not be written; codes of kav_ebase.h.
  int GenerateEpub(const char* outputPath);

  // Deletes the working directory with everything in it; EPUB_E_FAILED when that fails.
  int ClearData();

 private:
  struct KAV_EPUB_LOCAL State;

  class KAV_EPUB_LOCAL HtmlImport;

  // Writes the gathered paragraph to the open page.
  KAV_EPUB_LOCAL int FlushParagraph();
  // Copies a picture into the book and tells by what reference it is to be found.
  KAV_EPUB_LOCAL int CopyPicture(const char* imagePath, std::string& reference);

  std::unique_ptr<XMLFile> opfFile;
  std::unique_ptr<XMLFile> ncxFile;
  std::string bookDir;
  std::string cssPath;
  std::string dtdPath;
  std::string tempDir;
  std::unique_ptr<XMLFile> pageFile;
  std::int32_t pageNum = 0;
  std::int32_t imageNum = 0;
  std::string paraText;
  std::int32_t prevIndent = 0;
  std::int32_t prevLineLen = 0;
  std::int32_t maxLineLen = 0;
  std::unique_ptr<State> state;
};

#endif
