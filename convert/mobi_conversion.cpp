// Drives a book builder from a MOBI book, which the reader library hands over as HTML.
#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <system_error>

#include "builder/epub_base.h"
#include "convert/conversion_steps.h"
#include "convert/epub_management.h"
#include "platform/kav_mobi/kav_mobi.h"
#include "platform/kav_tool/kav_tool.h"

namespace {

constexpr int kSteps = 10;

// MOBI paragraphs are set as in print: no gaps, a first-line indent.
constexpr char kParagraphRule[] =
    "p { display: block; \n"
    " margin-bottom: 0; \n"
    "margin-left: 0; \n"
    "margin-right: 0; \n"
    "margin-top: 0; \n"
    "text-indent: 1em }";

std::string HtmlPath(const std::string& extracted) {
  return extracted + "/tmp.html";
}

using Text = std::unique_ptr<char, decltype(&std::free)>;

// A reader of one book; closed and released exactly once.
class MobiReader {
 public:
  MobiReader() : record(CreateMobiService()) {}
  ~MobiReader() {
    if (!Exists()) return;
    record->Close(record->handle);
    FreeMobiService(record);
  }
  MobiReader(const MobiReader&) = delete;
  MobiReader& operator=(const MobiReader&) = delete;

  bool Exists() const { return record != nullptr; }
  int Open(const char* path) { return record->Open(record->handle, path); }
  int ExtractHtml(const std::string& path) {
    return record->ExtractHtml(record->handle, path.c_str());
  }
  Text Title() { return Get(record->GetTitle); }
  Text Author() { return Get(record->GetAuthor); }
  Text CoverImage() { return Get(record->GetCoverImage); }

 private:
  // Null is also what a book without such a text has.
  Text Get(char* (*get)(void* handle)) {
    errno = 0;
    Text text(get(record->handle), &std::free);
    if (text == nullptr && errno == ENOMEM) throw std::bad_alloc();
    return text;
  }

  TMobiService* record;
};

// The picture that the reader names as the cover, if it lies below where the reader has put its
// files: no name in a book may lead to any other file.
std::string CoverPath(const std::string& extracted, const char* name) {
  if (name == nullptr) return {};
  const std::string path = extracted + "/" + name;
  std::error_code error;
  const auto real = std::filesystem::canonical(path, error);
  constexpr std::errc kMissing[] = {std::errc::no_such_file_or_directory,
                                    std::errc::not_a_directory, std::errc::filename_too_long,
                                    std::errc::too_many_symbolic_link_levels};
  if (std::find(std::begin(kMissing), std::end(kMissing), error) != std::end(kMissing)) return {};
  if (error) throw std::system_error(error);
  const auto directory = std::filesystem::canonical(extracted);
  const auto differing =
      std::mismatch(directory.begin(), directory.end(), real.begin(), real.end());
  return differing.first == directory.end() ? path : std::string();
}

// Takes all that the book needs out of the reader. The code with which the conversion ends here,
// EPUB_OK when the host cancels; nothing when it goes on.
std::optional<int> TakeFromReader(MobiReader& reader, const char* mobiPath, EpubBase& epub,
                                  const std::string& workDir, const std::string& extracted,
                                  const auto& cancels) {
  if (!reader.Exists()) return EPUB_E_FAILED;
  if (const int code = reader.Open(mobiPath); code != EPUB_OK) return code;
  if (cancels(1)) return EPUB_OK;
  KavMkdir(extracted.c_str());
  if (const int code = reader.ExtractHtml(HtmlPath(extracted)); code != EPUB_OK) return code;
  if (cancels(6)) return EPUB_OK;
  const Text title = reader.Title();
  const Text author = reader.Author();
  const int begun = epub.Init(workDir.c_str(), title.get(), author.get());
  if (begun != EPUB_OK) return begun;
  if (cancels(7)) return EPUB_OK;
  const std::string cover = CoverPath(extracted, reader.CoverImage().get());
  if (KavIsFileExists(cover.c_str()) == 0) return std::nullopt;
  const int covered = epub.AddCoverImageToEpub(cover.c_str());
  return covered == EPUB_OK ? std::nullopt : std::optional(covered);
}

}  // namespace

int EpubManagement::Mobi2Epub(const char* mobiPath, const char* epubPath, void* user,
                              ProgressCallback progress) {
  if (workDir.empty()) return EPUB_E_ARGUMENT;
  if (!OutputDirectoryExists(epubPath)) return EPUB_E_OUTPUT_DIR;
  if (epub == nullptr) return EPUB_E_NO_BUILDER;
  const auto cancels = [&](int done) { return ReportAndAskToCancel(progress, user, done, kSteps); };
  {
    // The reader is gone before the import begins: both hold a whole book in memory.
    MobiReader reader;
    const auto end = TakeFromReader(reader, mobiPath, *epub, workDir, processTmpDir, cancels);
    if (end) return *end;
  }
  if (cancels(8)) return EPUB_OK;
  int code = epub->AddHTHLToEpub(HtmlPath(processTmpDir).c_str());
  if (code != EPUB_OK || cancels(9)) return code;
  epub->AppendPropToCSS(kParagraphRule);
  code = epub->GenerateEpub(epubPath);
  if (code == EPUB_OK) cancels(kSteps);  // too late to cancel
  return code;
}
