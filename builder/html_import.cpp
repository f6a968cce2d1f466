// Takes HTML files into the book, with the local pages and files that they refer to.
#include <cstdlib>
#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

#include "base/encoding/html_encoding.h"
#include "builder/builder_state.h"
#include "builder/epub_base.h"
#include "builder/import_files.h"
#include "fileutil/copy_file.h"
#include "fileutil/fileutil.h"
#include "xml/uri_reference.h"
#include "xml/xml_base.h"

namespace {

// A file given without a directory is in the current one.
std::string WithDirectory(const std::string& path) {
  return path.find('/') == std::string::npos ? "./" + path : path;
}

}  // namespace

// The import of one page with everything that can be reached from it. Pages are visited as a
// recursion would visit them, but from a list: chains of pages may be longer than the stack is
// deep.
class EpubBase::HtmlImport {
 public:
  HtmlImport(EpubBase& builder, const std::string& htmlPath, const std::string& pagePath)
      : book(builder),
        files(htmlPath, builder.state->importRoot, builder.state->names),
        directory(pagePath.substr(0, pagePath.rfind('/') + 1)) {
    const std::string name = pagePath.substr(directory.size());
    book.state->names.Take(name);
    files.Add({htmlPath, name, true, true, {}});
  }

  // What the first page comes to; failures of others are no failure of the import.
  int Run();

 private:
  // The files that a page refers to, the next one last.
  using References = std::vector<size_t>;

  int AddPage(const ImportFile& file, References& references);
  References NameReferences(XMLBase& page, const std::string& sourceDir);
  void AddResource(const ImportFile& file);
  void DropDeadLinks();

  EpubBase& book;
  ImportFiles files;
  std::string directory;  // of the book's files, with its "/"
  std::vector<const ImportFile*> written;
  std::unordered_set<std::string> missing;  // references to pages that could not be imported
};

int EpubBase::HtmlImport::Run() {
  std::vector<References> path(1);
  if (const int code = AddPage(files[0], path.back()); code != EPUB_OK) return code;
  while (!path.empty()) {
    if (path.back().empty()) {
      path.pop_back();
      continue;
    }
    const size_t number = path.back().back();
    path.back().pop_back();
    ImportFile& file = files[number];
    const bool isNew = !file.isTaken;
    file.isTaken = true;
    if (!file.isPage) {
      // A repeated record leaves a gap in the identifiers, as it always has.
      book.opfFile->AddRecordToOpf(UriReferenceOf(file.name).c_str());
      if (isNew) AddResource(file);
    } else if (isNew) {
      References references;
      const int code = AddPage(file, references);
      if (code == EPUB_OK) {
        path.push_back(std::move(references));
      } else {
        missing.insert(UriReferenceOf(file.name));
        // It is there; only when it holds no page can the book do without it.
        if (code != EPUB_E_NOT_FOUND) book.state->isIncomplete = true;
      }
    }
  }
  DropDeadLinks();
  if (files.HasFailed()) book.state->isIncomplete = true;
  return EPUB_OK;
}

int EpubBase::HtmlImport::AddPage(const ImportFile& file, References& references) {
  XMLBase page;
  if (page.Init() != EPUB_OK) {
    book.state->isIncomplete = true;
    return EPUB_OK;
  }
  std::string sourceName;
  std::string sourceDir;
  GetFileOrDirFromPath(file.path.c_str(), sourceName, sourceDir);
  // The file may have been exchanged since it was allowed; that of the host is its own choice.
  const FileIdentity* identity = &file == &files[0] ? nullptr : &file.identity;
  page.SetImport([this](const std::string& path) { return files.IsAllowed(path); },
                 [=, &encoding = book.state->importEncoding](const char* path) {
                   return ReadHtmlFile(path, encoding, identity);
                 },
                 &book.state->dtds);
  const std::string stem = file.name.substr(0, file.name.rfind('.'));
  const int code =
      page.HtmlProcess(file.path.c_str(), sourceDir.c_str(), stem.c_str(), book.dtdPath.c_str());
  if (code != EPUB_OK) return code;

  const std::string reference = UriReferenceOf(file.name);
  const std::string target = directory + file.name;
  references = NameReferences(page, sourceDir);
  if (page.SaveFile(target.c_str()) != EPUB_OK) book.state->isIncomplete = true;
  written.push_back(&file);
  auto recorded = book.opfFile->AddRecordToOpf(reference.c_str());
  if (recorded == EPUB_OK) recorded = book.ncxFile->AddRecordToNcx(reference.c_str());
  return static_cast<int>(recorded);
}

// Gives all files that a page refers to their names in the book, before the page is saved with
// them.
EpubBase::HtmlImport::References EpubBase::HtmlImport::NameReferences(
    XMLBase& page, const std::string& sourceDir) {
  References references;
  std::vector<std::string> names;
  while (true) {
    const std::unique_ptr<char, decltype(&std::free)> source(page.GetXhtmlExternSource(),
                                                             &std::free);
    if (source == nullptr) break;
    references.push_back(files.NumberOf(sourceDir + "/" + source.get()));
    names.push_back(UriReferenceOf(files[references.back()].name));
  }
  page.PointLinks(names);
  return {references.rbegin(), references.rend()};
}

void EpubBase::HtmlImport::AddResource(const ImportFile& file) {
  const std::string target = directory + file.name;
  const CopyOutcome outcome = CopyFileReporting(file.path.c_str(), target.c_str(), &file.identity);
  if (outcome.code != EPUB_OK || !outcome.complete) book.state->isIncomplete = true;
}

// Whether a page can be imported shows only after pages that link to it have been written.
void EpubBase::HtmlImport::DropDeadLinks() {
  if (missing.empty()) return;
  for (const ImportFile* file : written) {
    if (!XMLBase::NeutralizeLinks(directory + file->name, missing)) {
      book.state->isIncomplete = true;
    }
  }
}

void EpubBase::SetImportRoot(const char* directory) {
  state->importRoot = directory == nullptr ? "" : directory;
}

void EpubBase::SetImportEncoding(const char* encoding) {
  state->importEncoding = encoding == nullptr ? "" : encoding;
}

int EpubBase::AddHTHLToEpub(const char* htmlPath) {
  ++pageNum;
  return GenerateNewHtml(htmlPath, (bookDir + "/OEBPS/" + PageName(pageNum)).c_str());
}

int EpubBase::GenerateNewHtml(const char* srcPath, const char* destPath) {
  if (srcPath == nullptr || destPath == nullptr) return EPUB_E_OPEN;
  if (opfFile == nullptr || ncxFile == nullptr) return EPUB_E_NO_PAGE;
  try {
    return HtmlImport(*this, WithDirectory(srcPath), destPath).Run();
  } catch (...) {
    state->isIncomplete = true;  // of some pages, files may be missing
    throw;
  }
}
