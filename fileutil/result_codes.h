/* The result codes of the library, shared by its C and C++ interfaces.
 *
 * 0 is success; the first failure ends an operation. Codes of the companion libraries (kav_ebase.h,
 * kav_mobi.h) are passed through beside these.
 */
#ifndef KAV_EPUB_RESULT_CODES_H
#define KAV_EPUB_RESULT_CODES_H

/* What an operation returns. */
enum EpubResult {
  /* Success; also a whole-file conversion that the host cancelled. */
  EPUB_OK = 0,
  /* Copying or moving a tree, saving a page or deleting the working files failed; also when memory
   * runs out inside a call. */
  EPUB_E_FAILED = -1,
  /* An XML document or its root element could not be created. */
  EPUB_E_CREATE_DOCUMENT = 401,
  /* A required file or directory does not exist, a copy got bad arguments, or the DTD file could
   * not be parsed. */
  EPUB_E_MISSING = 402,
  /* A file could not be opened, or the HTML parser made nothing of it. */
  EPUB_E_OPEN = 404,
  /* The style sheet could not be opened for writing. */
  EPUB_E_STYLE_SHEET = 406,
  /* A text line is null or empty. */
  EPUB_E_EMPTY_LINE = 407,
  /* A new paragraph begins, but no text page is open. */
  EPUB_E_NO_TEXT_PAGE = 408,
  /* No page is open, or a document of the book was never created. */
  EPUB_E_NO_PAGE = 409,
  /* The service record's cell is null or holds no book builder. */
  EPUB_E_NO_BUILDER = 410,
  /* A required argument is null or empty, or names nothing that exists. */
  EPUB_E_ARGUMENT = 411,
  /* The directory that is to hold the output file does not exist. */
  EPUB_E_OUTPUT_DIR = 412,
  /* A file of the book could not be written whole. */
  EPUB_E_WRITE = 413,
  /* A node path found no element, or an HTML document has no root element or body. */
  EPUB_E_NOT_FOUND = 415,
  /* A document operation on an object that holds no document. */
  EPUB_E_NO_DOCUMENT = 416,
  /* The rewritten MOBI HTML file could not be saved. */
  EPUB_E_MOBI_HTML = 417,
  /* The validation context could not be created. */
  EPUB_E_VALIDATION = 418
};

#endif
