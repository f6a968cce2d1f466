// Drives a book builder from a plain-text file, sixty lines a page.
#include <optional>

#include "builder/epub_base.h"
#include "convert/conversion_steps.h"
#include "convert/epub_management.h"
#include "convert/text_chunks.h"
#include "platform/kav_tool/kav_tool.h"

namespace {

int CountPages(TextChunks& chunks) {
  int lines = 0;
  while (chunks.Next()) ++lines;
  return lines / kLinesPerPage + (lines % kLinesPerPage != 0 ? 1 : 0);
}

// Feeds the text to the builder; its last page stays open. The code with which the conversion ends
// here, EPUB_OK when the host cancels; nothing when it goes on.
std::optional<int> AddPages(EpubBase& epub, TextChunks& chunks, int pages, const auto& cancels) {
  if (const int code = epub.StartPage(); code != EPUB_OK) return code;
  if (pages > 0 && cancels(1)) return EPUB_OK;
  for (int line = 0; chunks.Next(); ++line) {
    if (line > 0 && line % kLinesPerPage == 0) {
      if (const int code = epub.EndPage(); code != EPUB_OK) return code;
      if (const int code = epub.StartPage(); code != EPUB_OK) return code;
      if (cancels(line / kLinesPerPage + 1)) return EPUB_OK;
    }
    const int code = epub.AddTextLineToPage(chunks.Text().c_str());
    if (code != EPUB_OK) return code;
  }
  return chunks.HasFailed() ? std::optional<int>(EPUB_E_OPEN) : std::nullopt;
}

}  // namespace

int GetPageNumForTXT(const char* txtPath) {
  if (KavIsStrNullOrEmpty(txtPath) != 0) return 0;
  TextChunks chunks(txtPath);
  return chunks.IsOpen() ? CountPages(chunks) : 0;
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
  const int pages = CountPages(chunks);
  if (!chunks.Rewind()) return EPUB_E_OPEN;
  const auto cancels = [&](int done) {
    return ReportAndAskToCancel(progress, user, done, pages + 1);
  };
  if (const auto end = AddPages(*epub, chunks, pages, cancels)) {
    epub->ClearData();
    return *end;
  }
  if (const int code = epub->EndPage(); code != EPUB_OK) return code;
  if (const int code = epub->GenerateEpub(epubPath); code != EPUB_OK) return code;
  cancels(pages + 1);  // too late to cancel
  epub->ClearData();
  return EPUB_OK;
}
