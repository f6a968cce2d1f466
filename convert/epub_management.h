// Whole-file conversions: one call turns a text or MOBI file into a book and reports its progress.
//
// Order of calls: Init, then one conversion if Init returned EPUB_OK, then ClearData. An object is
// used by one thread at a time; two conversions need different working directories.
#ifndef KAV_EPUB_EPUB_MANAGEMENT_H
#define KAV_EPUB_EPUB_MANAGEMENT_H

#include <memory>
#include <string>

#include "../fileutil/export.h"
#include "../fileutil/result_codes.h"
#include "progress_callback.h"

class EpubBase;

// The number of pages that a text file makes: one for every 60 lines begun, a line being at most
// 254 bytes long. 0 for an empty file and for one that cannot be read.
KAV_EPUB_API int GetPageNumForTXT(const char* txtPath);

// One conversion of a whole file.
class KAV_EPUB_API EpubManagement {
 public:
  EpubManagement();
  // Releases the builder; its working files stay.
  ~EpubManagement();
  EpubManagement(const EpubManagement&) = delete;
  EpubManagement& operator=(const EpubManagement&) = delete;

  // Releases the builder ahead of the destructor. The spelling is that of the interface.
  void Destory();

  // Creates the builder and removes what an earlier conversion left in workDir, if that is given.
  // The title and author are not used: a text has none of its own and a MOBI book brings them
  // along. Always EPUB_OK.
  int Init(const char* workDir, const char* title, const char* author);

  // Converts a plain text in UTF-8. progress may be null; it is called with (user, page, pages + 1)
  // as each page begins, of a file that is not empty, and with (user, pages + 1, pages + 1) once
  // the book is written. A return of -2 from any call but the last cancels: nothing is written and
  // the result is EPUB_OK. EPUB_E_ARGUMENT without paths; EPUB_E_OUTPUT_DIR when the directory of
  // epubPath does not exist; EPUB_E_OPEN when the text is no regular file or cannot be read; codes
  // of EpubBase.
  int TXT2Epub(const char* txtPath, const char* epubPath, void* user, ProgressCallback progress);

  // Converts a MOBI book, by the reader library, with its own title, author and cover. progress may
  // be null; it is called with (user, done, 10): 1 opened, 6 extracted, 7 begun, 8 cover done, 9
  // imported, 10 written. A return of -2 from any call but the last cancels, as above.
  // EPUB_E_ARGUMENT when the working directory is null or empty; EPUB_E_OUTPUT_DIR as above; codes
  // of kav_mobi.h and EpubBase. Working files stay until ClearData.
  int Mobi2Epub(const char* mobiPath, const char* epubPath, void* user, ProgressCallback progress);

  // Deletes the working files of the builder and of the conversion; Init must have been called.
  int ClearData();

 private:
  KAV_EPUB_LOCAL int ConvertText(const char* txtPath, const char* epubPath, void* user,
                                 ProgressCallback progress);

  std::unique_ptr<EpubBase> epub;
  std::string workDir;
  std::string processTmpDir;
  std::string title;
  std::string author;
};

#endif
