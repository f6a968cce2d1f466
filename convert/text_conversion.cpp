// Drives a book builder from a plain-text file, sixty lines a page.
#include <memory>

#include "builder/epub_base.h"
#include "convert/conversion_steps.h"
#include "convert/epub_management.h"
#include "convert/text_chunks.h"
#include "platform/kav_tool/kav_tool.h"

int GetPageNumForTXT(const char* txtPath) {
  if (KavIsStrNullOrEmpty(txtPath) != 0) return 0;
  TextChunks chunks(txtPath);
  if (!chunks.IsOpen()) return 0;
  int lines = 0;
  while (chunks.Next()) ++lines;
  return lines / kLinesPerPage + (lines % kLinesPerPage != 0 ? 1 : 0);
}

EpubManagement::EpubManagement() = default;

EpubManagement::~EpubManagement() = default;

void EpubManagement::Destory() {
  epub.reset();
}

int EpubManagement::Init(const char* directory, const char* /*title*/, const char* /*author*/) {
  epub = std::make_unique<EpubBase>();
  workDir = directory == nullptr ? "" : directory;
  processTmpDir = this->workDir + "/process_tmp";
  if (KavIsFileOrDirExists(processTmpDir.c_str()) != 0) KavDeleteDir(processTmpDir.c_str());
  return EPUB_OK;
}

int EpubManagement::TXT2Epub(const char* txtPath, const char* epubPath, void* user,
                             ProgressCallback progress) {
  if (KavIsStrNullOrEmpty(epubPath) != 0 || KavIsStrNullOrEmpty(txtPath) != 0) {
    return EPUB_E_ARGUMENT;
  }
  if (!OutputDirectoryExists(epubPath)) return EPUB_E_OUTPUT_DIR;
  if (epub == nullptr) return EPUB_E_NO_BUILDER;
  if (const int code = epub->Init(workDir.c_str(), title.c_str(), author.c_str());
      code != EPUB_OK) {
    return code;
  }
  return ConvertText(txtPath, epubPath, user, progress);
}

int EpubManagement::ConvertText(const char* txtPath, const char* epubPath, void* user,
                                ProgressCallback progress) {
  TextChunks chunks(txtPath);
  if (!chunks.IsOpen()) return EPUB_E_OPEN;
  const int pages = GetPageNumForTXT(txtPath);
  const int total = pages + 1;
  int code = epub->StartPage();
  int page = 0;
  bool cancelled = false;
  if (code == EPUB_OK && pages > 0) {
    page = 1;
    cancelled = ReportAndAskToCancel(progress, user, page, total);
  }
  for (int onPage = 0; code == EPUB_OK && !cancelled && chunks.Next(); ++onPage) {
    if (onPage == kLinesPerPage) {
      code = epub->EndPage();
      if (code == EPUB_OK) code = epub->StartPage();
      if (code != EPUB_OK) break;
      ++page;
      onPage = 0;
      cancelled = ReportAndAskToCancel(progress, user, page, total);
      if (cancelled) break;
    }
    code = epub->AddTextLineToPage(chunks.Text().c_str());
  }
  if (code == EPUB_OK && chunks.HasFailed()) code = EPUB_E_OPEN;
  if (cancelled || code != EPUB_OK) {
    epub->ClearData();
    return code;
  }

  code = epub->EndPage();
  if (code == EPUB_OK) code = epub->GenerateEpub(epubPath);
  if (code != EPUB_OK) return code;
  ReportAndAskToCancel(progress, user, page + 1, total);  // too late to cancel
  epub->ClearData();
  return EPUB_OK;
}

int EpubManagement::ClearData() {
  const int code = epub == nullptr ? EPUB_OK : epub->ClearData();
  KavDeleteDir(processTmpDir.c_str());
  return code;
}
