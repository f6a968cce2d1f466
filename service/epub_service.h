/* The C interface of the EPUB engine: a record of functions that builds a book page by page, or
 * converts a whole file in one call.
 *
 * The life of a book: CreateEpubService; InitEpub; for each page StartPage, AddTextLineToPage and
 * AddImageToPage as often as wanted, EndPage (or AddImageToEpub, AddHtmlToEpub for whole pages);
 * GenerateEpub; ClearUp; FreeEpubService.
 *
 * Results are codes of result_codes.h, 0 for success. Strings are NUL-terminated, texts in UTF-8,
 * and borrowed for the length of the call. Nothing is printed and no exception leaves a function.
 * A record is used by one thread at a time; different records may be used at the same time when
 * their working directories differ.
 */
#ifndef KAV_EPUB_SERVICE_H
#define KAV_EPUB_SERVICE_H

#include "../convert/progress_callback.h"
#include "../fileutil/export.h"
#include "../fileutil/result_codes.h"
#include "../fileutil/version.h"

#ifdef __cplusplus
extern "C" {
class EpubBase;
#else
typedef struct EpubBase EpubBase;
#endif

/* The cell of a record: its book builder, null before InitEpub and after ClearUp. A host in C++ may
 * use the builder directly, see epub_base.h. */
typedef struct TEpubData {
  EpubBase* epub;
} TEpubData;

/* The record: twelve pointers, in this order. `data` is the first argument of the functions for one
 * book; these return EPUB_E_NO_BUILDER when it is null or holds no builder. */
typedef struct TEpubService {
  TEpubData* data;

  /* Begins a book in the directory "epub_temp" below workDir, which is wiped first. A null title or
   * author counts as empty. The builder stays in the cell whatever the result; call ClearUp before
   * the next book, as a builder that is still there is not released.
   * EPUB_E_MISSING when workDir is null or empty or does not exist; EPUB_E_OPEN,
   * EPUB_E_STYLE_SHEET, EPUB_E_WRITE when files cannot be created. */
  int (*InitEpub)(TEpubData* data, const char* workDir, const char* title, const char* author);

  /* Discards the builder and its working files. */
  void (*ClearUp)(TEpubData* data);

  /* Begins a text page. */
  int (*StartPage)(const TEpubData* data);

  /* Finishes the text page. EPUB_E_NO_PAGE when none is open. */
  int (*EndPage)(const TEpubData* data);

  /* Adds one line of a plain text, with its line feed. EPUB_E_EMPTY_LINE when it is null or "";
   * EPUB_E_NO_TEXT_PAGE when it begins a paragraph and no page is open. */
  int (*AddTextLineToPage)(const TEpubData* data, const char* line);

  /* Places a picture in the open page. EPUB_E_MISSING when the file does not exist; EPUB_E_NO_PAGE
   * when no page is open. */
  int (*AddImageToPage)(const TEpubData* data, const char* imagePath);

  /* Adds a picture as a page of its own, between pages. EPUB_E_MISSING as above. */
  int (*AddImageToEpub)(const TEpubData* data, const char* imagePath);

  /* Packs the book into the file epubPath, which appears whole or not at all. EPUB_E_ARGUMENT
   * without a path; EPUB_E_WRITE when a part of the book could not be written; codes of
   * kav_ebase.h. */
  int (*GenerateEpub)(const TEpubData* data, const char* epubPath);

  /* Imports an HTML file, with the local pages and files that it refers to. EPUB_E_ARGUMENT when
   * the file does not exist, or data is null or holds no builder. */
  int (*AddHtmlToEpub)(const TEpubData* data, const char* htmlPath);

  /* Converts a whole text file in UTF-8. The book's title and author are left empty.
   * EPUB_E_ARGUMENT when a path is null or empty or workDir does not exist; EPUB_E_OUTPUT_DIR when
   * the directory of epubPath does not; EPUB_E_OPEN when the text cannot be read. progress may be
   * null; it is called as each of n pages begins with (user, page, n + 1), and with (user, n + 1, n
   * + 1) at the end. */
  int (*Txt2Epub)(const char* txtPath, const char* epubPath, const char* workDir, const char* title,
                  const char* author, void* user, ProgressCallback progress);

  /* Converts a whole MOBI file, which brings title, author and cover along. EPUB_E_ARGUMENT when
   * workDir is null or empty; EPUB_E_OUTPUT_DIR as above; codes of kav_mobi.h. progress is called
   * with (user, 1, 10), then 6, 7, 8, 9 and 10 of 10. */
  int (*Mobi2Epub)(const char* mobiPath, const char* epubPath, const char* workDir, void* user,
                   ProgressCallback progress);
} TEpubService;

/* A new record with an empty cell, for the caller to release with FreeEpubService; null when memory
 * runs out. */
KAV_EPUB_API TEpubService* CreateEpubService(void);

/* Releases a record, with a builder that it still holds and that builder's working files. */
KAV_EPUB_API void FreeEpubService(TEpubService* record);

/* The one-line notice, "Kav EPUB 0.2.0. Copyright ...", a new string for the caller to free(); null
 * when memory runs out. */
KAV_EPUB_API char* GetEpubCopyright(void);

#ifdef __cplusplus
}
#endif

#endif
