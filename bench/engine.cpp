// The smallest host: makes one book of a file, or packs a directory, and does nothing else.
//
//   engine text|html|mobi|pack INPUT OUTPUT WORKDIR
#include <cstdio>
#include <memory>
#include <string_view>

#include "platform/kav_ebase/kav_ebase.h"
#include "service/epub_service.h"

namespace {

using Service = std::unique_ptr<TEpubService, decltype(&FreeEpubService)>;

int BookOfText(const char* input, const char* output, const char* workDir) {
  const Service service(CreateEpubService(), &FreeEpubService);
  return service->Txt2Epub(input, output, workDir, "", "", nullptr, nullptr);
}

int BookOfHtml(const char* input, const char* output, const char* workDir) {
  const Service service(CreateEpubService(), &FreeEpubService);
  int code = service->InitEpub(service->data, workDir, "", "");
  if (code == EPUB_OK) code = service->AddHtmlToEpub(service->data, input);
  return code == EPUB_OK ? service->GenerateEpub(service->data, output) : code;
}

int BookOfMobi(const char* input, const char* output, const char* workDir) {
  const Service service(CreateEpubService(), &FreeEpubService);
  return service->Mobi2Epub(input, output, workDir, nullptr, nullptr);
}

int Pack(const char* input, const char* output, const char* /*workDir*/) {
  return Kav_CreateEpubFromDir(input, output);
}

constexpr struct {
  std::string_view name;
  int (*run)(const char* input, const char* output, const char* workDir);
} kJobs[] = {{"text", BookOfText}, {"html", BookOfHtml}, {"mobi", BookOfMobi}, {"pack", Pack}};

}  // namespace

int main(int argc, char** argv) {
  for (const auto& job : kJobs) {
    if (argc != 5 || job.name != argv[1]) continue;
    const int code = job.run(argv[2], argv[3], argv[4]);
    if (code != EPUB_OK) std::fprintf(stderr, "engine: code %d\n", code);
    return code == EPUB_OK ? 0 : 1;
  }
  std::fprintf(stderr, "Usage: engine text|html|mobi|pack INPUT OUTPUT WORKDIR\n");
  return 2;
}
