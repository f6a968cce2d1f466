// Asks the MOBI reader library.
#include "hosts/kavepub/inspect/mobi_info.h"

#include <cstdlib>
#include <memory>
#include <new>

#include "hosts/kavepub/console/failure.h"
#include "hosts/kavepub/console/work_dir.h"
#include "hosts/kavepub/plan/input_kind.h"
#include "platform/kav_mobi/kav_mobi.h"

namespace {

struct CloseReader {
  void operator()(TMobiService* reader) const {
    reader->Close(reader->handle);
    FreeMobiService(reader);
  }
};

std::string Take(char* text) {
  const std::unique_ptr<char, decltype(&std::free)> owned(text, &std::free);
  return text == nullptr ? std::string() : text;
}

}  // namespace

void ReadMobiInfo(const std::filesystem::path& book, BookInfo& info) {
  const std::unique_ptr<TMobiService, CloseReader> reader(CreateMobiService());
  if (!reader) throw std::bad_alloc();
  const WorkDir workDir;
  const std::filesystem::path place = workDir.Path().parent_path();
  Require(reader->Open(reader->handle, book.c_str()), book, place);
  info.format = "MOBI";
  info.title = Take(reader->GetTitle(reader->handle));
  info.author = Take(reader->GetAuthor(reader->handle));

  // The pictures are those that the book shows, which only the extraction tells.
  const std::filesystem::path html = workDir.Path() / "book.html";
  Require(reader->ExtractHtml(reader->handle, html.c_str()), book, place);
  for (const auto& file : std::filesystem::directory_iterator(workDir.Path())) {
    if (!PictureExtension(file.path()).empty()) ++info.pictures;
  }
}
