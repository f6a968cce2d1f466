// A host that has functions of its own by the names of the library's, and makes a book with a
// picture.
#include <service/epub_service.h>

#include <cstdio>

#include "builder/epub_base.h"
#include "convert/epub_management.h"
#include "fileutil/fileutil.h"
#include "package/xml_file.h"
#include "temp_dir.h"

namespace {

int taken = 0;  // calls that the library meant for itself

int Take() {
  ++taken;
  return 0;
}

constexpr char kPicture[] = "picture.png";

}  // namespace

int CopyFile(const char* /*src*/, const char* /*dst*/) {
  return Take();
}
int CopyFileOrDir(const char* /*src*/, const char* /*dst*/) {
  return Take();
}
int MoveDir(const char* /*src*/, const char* /*dst*/) {
  return Take();
}
int GetPageNumForTXT(const char* /*txtPath*/) {
  return Take();
}
void GetFileOrDirFromPath(const char* /*path*/, std::string& name, std::string& /*dir*/) {
  name = "foreign";
  Take();
}
std::uint32_t XMLFile::AddImageToHtml(const char* /*src*/) {
  Take();
  return EPUB_OK;
}
int EpubBase::EndPage() {
  return Take();
}

int main() {
  const TempDir dir;
  const std::string page =
      dir.Write("page.html", "<html><body><img src=\"picture.png\"/></body></html>");
  const std::string picture = dir.Write(kPicture, "\x89PNG\r\n\x1a\n");
  const std::string text = dir.Write("text.txt", "Text\n");
  EpubBase book;
  const bool isMade = book.Init(dir.String().c_str(), "T", "A") == EPUB_OK &&
                      book.AddImageToEpub(picture.c_str()) == EPUB_OK &&
                      book.AddHTHLToEpub(page.c_str()) == EPUB_OK;
  const bool isCopied =
      ReadFile(dir / "epub_temp/epub/OEBPS/images/picture.png") == ReadFile(picture);
  TEpubService* service = CreateEpubService();
  const bool isConverted =
      service->Txt2Epub(text.c_str(), (dir / "text.epub").c_str(), dir.String().c_str(), "T", "A",
                        nullptr, nullptr) == EPUB_OK;
  FreeEpubService(service);
  printf("made %d, copied %d, converted %d, taken over %d\n", isMade, isCopied, isConverted, taken);
  return isMade && isCopied && isConverted && taken == 0 ? 0 : 1;
}
