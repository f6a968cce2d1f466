// Pictures: the cover, pages of one picture, and pictures inside text pages.
#include <algorithm>
#include <stdexcept>
#include <string>
#include <string_view>

#include "builder/builder_state.h"
#include "builder/epub_base.h"
#include "fileutil/copy_file.h"
#include "fileutil/fileutil.h"
#include "platform/kav_tool/kav_tool.h"
#include "xml/uri_reference.h"

namespace {

constexpr std::string_view kCoverExtensions[] = {".jpeg", ".jpg", ".png", ".gif"};
constexpr std::string_view kSkippedExtension = ".wmf";  // no reader shows Windows metafiles
constexpr char kCoverPageName[] = "cover.html";

std::string BaseName(const char* path) {
  std::string name;
  std::string directory;
  GetFileOrDirFromPath(path, name, directory);
  return name;
}

}  // namespace

int EpubBase::CopyPicture(const char* imagePath, std::string& reference) {
  const std::string name = BaseName(imagePath);
  reference = "images/" + UriReferenceOf(name);
  const std::string target = bookDir + "/OEBPS/images/" + name;
  const CopyOutcome outcome = CopyFileReporting(imagePath, target.c_str());
  if (outcome.code == EPUB_OK && !outcome.complete) state->isIncomplete = true;
  return outcome.code;
}

int EpubBase::AddCoverImageToEpub(const char* imagePath) {
  if (KavIsFileExists(imagePath) == 0) return EPUB_E_MISSING;
  const std::string_view path = imagePath;
  const size_t dot = path.rfind('.');
  if (dot == std::string_view::npos) throw std::out_of_range("a cover without an extension");
  const std::string_view extension = path.substr(dot);
  if (std::find(std::begin(kCoverExtensions), std::end(kCoverExtensions), extension) ==
      std::end(kCoverExtensions)) {
    return EPUB_OK;
  }
  if (opfFile == nullptr) return EPUB_E_NO_PAGE;
  std::string reference;
  if (const int code = CopyPicture(imagePath, reference); code != EPUB_OK) return code;

  XMLFile page;
  if (const auto code = page.InitHTML("cover"); code != EPUB_OK) return static_cast<int>(code);
  if (const auto code = page.AddImageToXhtml(reference.c_str()); code != EPUB_OK) {
    return static_cast<int>(code);
  }
  const std::string pagePath = bookDir + "/OEBPS/" + kCoverPageName;
  if (page.SaveHtml(pagePath.c_str()) != EPUB_OK) state->isIncomplete = true;
  return static_cast<int>(opfFile->AddCoverToOpf(kCoverPageName, reference.c_str()));
}

int EpubBase::AddImageToEpub(const char* imagePath) {
  if (KavIsFileExists(imagePath) == 0) return EPUB_E_MISSING;
  if (opfFile == nullptr || ncxFile == nullptr) return EPUB_E_NO_PAGE;
  std::string reference;
  if (const int code = CopyPicture(imagePath, reference); code != EPUB_OK) return code;

  ++pageNum;
  XMLFile page;
  if (const auto code = page.InitHTML(std::to_string(pageNum).c_str()); code != EPUB_OK) {
    return static_cast<int>(code);
  }
  if (const auto code = page.AddImageToHtml(reference.c_str()); code != EPUB_OK) {
    return static_cast<int>(code);
  }
  const std::string name = PageName(pageNum);
  const std::string pagePath = bookDir + "/OEBPS/" + name;
  if (page.SaveHtml(pagePath.c_str()) != EPUB_OK) state->isIncomplete = true;

  auto code = opfFile->AddRecordToOpf(reference.c_str());
  if (code == EPUB_OK) code = opfFile->AddRecordToOpf(name.c_str());
  if (code == EPUB_OK) code = ncxFile->AddRecordToNcx(name.c_str());
  return static_cast<int>(code);
}

int EpubBase::AddImageToPage(const char* imagePath) {
  if (KavIsFileExists(imagePath) == 0) return EPUB_E_MISSING;
  if (pageFile == nullptr || opfFile == nullptr) return EPUB_E_NO_PAGE;
  const std::string_view path = imagePath;
  if (path.size() > kSkippedExtension.size() && path.ends_with(kSkippedExtension)) return EPUB_OK;
  std::string reference;
  if (const int code = CopyPicture(imagePath, reference); code != EPUB_OK) return code;

  // The picture ends the paragraph; the longest line still measures the lines after it.
  if (const int code = FlushParagraph(); code != EPUB_OK) return code;
  prevIndent = 0;
  prevLineLen = 0;
  ++imageNum;
  if (const auto code = pageFile->AddImageToHtml(reference.c_str()); code != EPUB_OK) {
    return static_cast<int>(code);
  }
  return static_cast<int>(opfFile->AddRecordToOpf(reference.c_str()));
}
