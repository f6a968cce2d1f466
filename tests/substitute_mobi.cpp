// The substitute reader library.
#include "substitute_mobi.h"

#include <cstring>
#include <filesystem>
#include <fstream>

#include "platform/kav_mobi/kav_mobi.h"

namespace {

// The smallest head of a JPEG picture; nothing looks further.
constexpr char kPicture[] = "\xFF\xD8\xFF\xE0";

SubstituteMobi& Noting(const char* call) {
  Substitute().calls.emplace_back(call);
  return Substitute();
}

char* Copy(const char* text) {
  return text == nullptr ? nullptr : strdup(text);
}

int Open(void* /*handle*/, const char* /*path*/) {
  return Noting("Open").openResult;
}

void Close(void* /*handle*/) {
  Noting("Close");
}

int ExtractHtml(void* /*handle*/, const char* path) {
  const SubstituteMobi& told = Noting("ExtractHtml");
  std::ofstream(path) << told.html;
  if (told.cover != nullptr && told.writesCover) {
    const auto cover = std::filesystem::path(path).replace_filename(told.cover);
    std::filesystem::create_directories(cover.parent_path());
    std::ofstream(cover) << kPicture;
  }
  return told.extractResult;
}

char* GetTitle(void* /*handle*/) {
  return Copy(Noting("GetTitle").title);
}
char* GetAuthor(void* /*handle*/) {
  return Copy(Noting("GetAuthor").author);
}
char* GetCoverImage(void* /*handle*/) {
  return Copy(Noting("GetCoverImage").cover);
}

}  // namespace

SubstituteMobi& Substitute() {
  static SubstituteMobi substitute;
  return substitute;
}

TMobiService* CreateMobiService(void) {
  Noting("Create");
  return new TMobiService{nullptr, Open, Close, ExtractHtml, GetTitle, GetAuthor, GetCoverImage};
}

void FreeMobiService(TMobiService* service) {
  Noting("Free");
  delete service;
}
