// What all conversions of whole files share: the builder, and the directories that they work in.
#include "convert/epub_management.h"

#include <memory>

#include "builder/epub_base.h"
#include "platform/kav_tool/kav_tool.h"

EpubManagement::EpubManagement() = default;

EpubManagement::~EpubManagement() = default;

void EpubManagement::Destory() {
  epub.reset();
}

int EpubManagement::Init(const char* directory, const char* /*title*/, const char* /*author*/) {
  epub = std::make_unique<EpubBase>();
  workDir = directory == nullptr ? "" : directory;
  processTmpDir = workDir.empty() ? "" : workDir + "/process_tmp";
  if (KavIsFileOrDirExists(processTmpDir.c_str()) != 0) KavDeleteDir(processTmpDir.c_str());
  return EPUB_OK;
}

int EpubManagement::ClearData() {
  const int code = epub == nullptr ? EPUB_OK : epub->ClearData();
  KavDeleteDir(processTmpDir.c_str());
  return code;
}
