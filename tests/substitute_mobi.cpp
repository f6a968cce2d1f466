// The substitute reader library.
#include "substitute_mobi.h"

#include <cstring>
#include <filesystem>
#include <fstream>

#include "platform/kav_mobi/kav_mobi.h"

namespace {

// The smallest head of a JPEG picture; nothing looks further.
constexpr char kPicture[] = "\xFF\xD8\xFF\xE0";

// Notes a call; what the reader is told about something.
const std::string& Told(const char* call, const char* what) {
  Substitute().calls.emplace_back(call);
  return Substitute().told[what];
}

char* Copy(const std::string& text) {
  return text == "null" ? nullptr : strdup(text.c_str());
}

int Open(void* /*handle*/, const char* /*path*/) {
  return std::stoi(Told("Open", "open"));
}

void Close(void* /*handle*/) {
  Substitute().calls.emplace_back("Close");
}

int ExtractHtml(void* /*handle*/, const char* path) {
  auto& told = Substitute().told;
  std::ofstream(path) << told["html"];
  if (told["cover"] != "null" && told["writesCover"] == "yes") {
    const auto cover = std::filesystem::path(path).replace_filename(told["cover"]);
    std::filesystem::create_directories(cover.parent_path());
    std::ofstream(cover) << kPicture;
  }
  return std::stoi(Told("ExtractHtml", "extract"));
}

char* GetTitle(void* /*handle*/) {
  return Copy(Told("GetTitle", "title"));
}
char* GetAuthor(void* /*handle*/) {
  return Copy(Told("GetAuthor", "author"));
}
char* GetCoverImage(void* /*handle*/) {
  return Copy(Told("GetCoverImage", "cover"));
}

}  // namespace

SubstituteMobi& Substitute() {
  static SubstituteMobi substitute;
  return substitute;
}

TMobiService* CreateMobiService(void) {
  Substitute().calls.emplace_back("Create");
  return new TMobiService{nullptr, Open, Close, ExtractHtml, GetTitle, GetAuthor, GetCoverImage};
}

void FreeMobiService(TMobiService* service) {
  Substitute().calls.emplace_back("Free");
  delete service;
}
