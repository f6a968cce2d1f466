// The last step of a book: its two documents are written and the directory is packed.
#include "builder/builder_state.h"
#include "builder/epub_base.h"
#include "platform/kav_ebase/kav_ebase.h"
#include "platform/kav_tool/kav_tool.h"

int EpubBase::GenerateEpub(const char* outputPath) {
  if (KavIsStrNullOrEmpty(outputPath) != 0) return EPUB_E_ARGUMENT;
  if (opfFile == nullptr || ncxFile == nullptr) return EPUB_E_NO_PAGE;
  if (!state->torn.Settle()) state->isIncomplete = true;
  const std::string opfPath = bookDir + "/OEBPS/content.opf";
  if (const auto code = opfFile->SaveOpfFile(opfPath.c_str()); code != EPUB_OK) {
    return static_cast<int>(code);
  }
  const std::string ncxPath = bookDir + "/OEBPS/toc.ncx";
  if (const auto code = ncxFile->SaveNcxFile(ncxPath.c_str()); code != EPUB_OK) {
    return static_cast<int>(code);
  }
  if (state->isIncomplete) return EPUB_E_WRITE;
  return Kav_CreateEpubFromDir(bookDir.c_str(), outputPath);
}
