// The working directory of a book: layout, fixed files, construction and tear-down of the builder.
#include <string_view>
#include <utility>

#include "base/output_file.h"
#include "builder/builder_state.h"
#include "builder/epub_base.h"
#include "platform/kav_tool/kav_tool.h"
#include "xml/xml_base.h"

namespace {

constexpr char kTempName[] = "epub_temp";
constexpr char kMimetype[] = "application/epub+zip";
constexpr char kStyleSheetName[] = "main.css";
constexpr std::string_view kCssEnd = "###";

enum class Written { kWhole, kInPart, kNotOpened };

Written WriteFile(const std::string& path, std::string_view content) {
  OutputFile file(path);
  if (!file.IsOpen()) return Written::kNotOpened;
  file.Write(content);
  return file.Close() ? Written::kWhole : Written::kInPart;
}

std::string TempDirBelow(const std::string& root) {
  return root.back() == '/' ? root + kTempName : root + "/" + kTempName;
}

}  // namespace

int EpubBase::LibraryVersion() {
  return KAV_EPUB_VERSION_NUMBER;
}

EpubBase::EpubBase() : state(std::make_unique<State>()) {}

EpubBase::~EpubBase() = default;

void EpubBase::Destory() {
  opfFile.reset();
  ncxFile.reset();
  pageFile.reset();
}

int EpubBase::Init(const char* root, const char* title, const char* author) {
  auto clean = std::make_unique<State>();
  // The host may set these at any time.
  clean->importRoot = std::move(state->importRoot);
  clean->importEncoding = std::move(state->importEncoding);
  state = std::move(clean);
  if (KavIsStrNullOrEmpty(root) != 0 || KavIsFileOrDirExists(root) == 0) return EPUB_E_MISSING;
  tempDir = TempDirBelow(root);
  bookDir = tempDir + "/epub";
  if (KavIsFileOrDirExists(tempDir.c_str()) != 0) KavDeleteDir(tempDir.c_str());
  for (const char* below : {"", "/epub", "/epub/META-INF", "/epub/OEBPS", "/epub/OEBPS/images"}) {
    KavMkdir((tempDir + below).c_str());
  }

  const std::string containerPath = bookDir + "/META-INF/container.xml";
  if (const auto code = XMLFile().GenerateContainerFile(containerPath.c_str()); code != EPUB_OK) {
    return static_cast<int>(code);
  }
  dtdPath = tempDir + "/xhtml1-strict.dtd";
  const Written dtd = WriteFile(dtdPath, kXhtml1StrictDtd[0]);
  if (dtd == Written::kNotOpened) return EPUB_E_OPEN;
  if (dtd == Written::kInPart) state->isIncomplete = true;
  if (const int code = GenerateMimetypeFile(); code != EPUB_OK) return code;

  ncxFile = std::make_unique<XMLFile>();
  if (const auto code = ncxFile->InitNcxFile(title); code != EPUB_OK) return static_cast<int>(code);
  opfFile = std::make_unique<XMLFile>();
  if (const auto code = opfFile->InitOpfFile(title, author); code != EPUB_OK) {
    return static_cast<int>(code);
  }
  ncxFile->ShareIdentifier(*opfFile);  // the second may have changed between them
  cssPath = bookDir + "/OEBPS/" + kStyleSheetName;
  if (const int code = GenerateCSSFile(); code != EPUB_OK) return code;
  return static_cast<int>(opfFile->AddRecordToOpf(kStyleSheetName));
}

int EpubBase::GenerateMimetypeFile() {
  const Written mimetype = WriteFile(bookDir + "/mimetype", kMimetype);
  if (mimetype == Written::kNotOpened) return EPUB_E_OPEN;
  if (mimetype == Written::kInPart) state->isIncomplete = true;
  return EPUB_OK;
}

int EpubBase::GenerateCSSFile() {
  OutputFile file(cssPath);
  if (!file.IsOpen()) return EPUB_E_STYLE_SHEET;
  for (const char* const* fragment = kCssRes; *fragment != kCssEnd; ++fragment) {
    file.Write(*fragment);
  }
  if (!file.Close()) state->isIncomplete = true;
  return EPUB_OK;
}

int EpubBase::AppendPropToCSS(const char* text) {
  if (cssPath.empty()) return EPUB_OK;  // there is no book yet that could lack the text
  OutputFile file(cssPath, OutputFile::Mode::kAppend);
  const bool isOpen = file.IsOpen();
  if (isOpen && text != nullptr) file.Write(text);
  if (file.Close()) return EPUB_OK;
  state->isIncomplete = true;
  return isOpen ? EPUB_E_FAILED : EPUB_OK;
}

int EpubBase::ClearData() {
  return KavDeleteDir(tempDir.c_str()) == 0 ? EPUB_OK : EPUB_E_FAILED;
}
