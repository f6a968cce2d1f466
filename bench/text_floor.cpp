// The conversion of a text beside its floor: writing the same files and deflating the same bytes.
//
// Usage: text_floor TEXT [ROUNDS]
#include <libdeflate.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "builder/epub_base.h"
#include "convert/epub_management.h"
#include "service/epub_service.h"

namespace {

namespace fs = std::filesystem;
constexpr int kDeflateLevel = 6;  // the packer's

struct File {
  std::string name;
  std::string content;
};

double Seconds(const auto& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double Median(std::vector<double> values) {
  std::nth_element(values.begin(), values.begin() + static_cast<long>(values.size() / 2),
                   values.end());
  return values[values.size() / 2];
}

// The files of the book, as the engine leaves them in its working directory.
std::vector<File> FilesOfBook(const char* text, const fs::path& dir) {
  EpubBase builder;
  std::ifstream input(text, std::ios::binary);
  std::string buffer(255, '\0');
  if (builder.Init(dir.c_str(), "", "") != EPUB_OK || builder.StartPage() != EPUB_OK) std::abort();
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(text, "r"), &std::fclose);
  int onPage = 0;
  while (std::fgets(buffer.data(), static_cast<int>(buffer.size()), file.get()) != nullptr) {
    if (onPage++ == 60) {
      builder.EndPage();
      builder.StartPage();
      onPage = 1;
    }
    builder.AddTextLineToPage(buffer.c_str());
  }
  builder.EndPage();
  if (builder.GenerateEpub((dir / "book.epub").c_str()) != EPUB_OK) std::abort();

  std::vector<File> files;
  const fs::path book = dir / "epub_temp" / "epub";
  for (const auto& entry : fs::recursive_directory_iterator(book)) {
    if (!entry.is_regular_file()) continue;
    std::ifstream stream(entry.path(), std::ios::binary);
    files.push_back(
        {fs::relative(entry.path(), book).string(), {std::istreambuf_iterator<char>(stream), {}}});
  }
  builder.ClearData();
  return files;
}

void Write(const fs::path& path, const char* data, size_t size) {
  std::ofstream(path, std::ios::binary).write(data, static_cast<std::streamsize>(size));
}

// Returns the number of deflated bytes.
size_t WriteAndDeflate(const std::vector<File>& files, const fs::path& dir) {
  fs::create_directories(dir / "META-INF");
  fs::create_directories(dir / "OEBPS" / "images");
  const std::unique_ptr<libdeflate_compressor, void (*)(libdeflate_compressor*)> compressor(
      libdeflate_alloc_compressor(kDeflateLevel), &libdeflate_free_compressor);
  std::string deflated;
  std::string book;
  for (const File& file : files) {
    Write(dir / file.name, file.content.data(), file.content.size());
    deflated.resize(libdeflate_deflate_compress_bound(compressor.get(), file.content.size()));
    book.append(deflated.data(),
                libdeflate_deflate_compress(compressor.get(), file.content.data(),
                                            file.content.size(), deflated.data(), deflated.size()));
  }
  Write(dir / "book", book.data(), book.size());
  fs::remove_all(dir);
  return book.size();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "Usage: text_floor TEXT [ROUNDS]\n");
    return 2;
  }
  const int rounds = argc > 2 ? std::atoi(argv[2]) : 5;
  std::string name = (fs::temp_directory_path() / "text-floor-XXXXXX").string();
  const fs::path dir = mkdtemp(name.data());
  const std::string output = dir / "book.epub";
  const std::vector<File> files = FilesOfBook(argv[1], dir);

  TEpubService* service = CreateEpubService();
  std::vector<double> engine;
  std::vector<double> floor;
  size_t floorBytes = 0;
  for (int round = 0; round < rounds; ++round) {
    engine.push_back(Seconds([&] {
      if (service->Txt2Epub(argv[1], output.c_str(), dir.c_str(), "", "", nullptr, nullptr) !=
          EPUB_OK) {
        std::abort();
      }
    }));
    floor.push_back(Seconds([&] { floorBytes = WriteAndDeflate(files, dir / "floor"); }));
  }
  FreeEpubService(service);
  std::printf("files %zu, book %ju bytes, deflated by the floor %zu bytes\n", files.size(),
              static_cast<uintmax_t>(fs::file_size(output)), floorBytes);
  std::printf("engine %.4f s, floor %.4f s, ratio %.2f (medians of %d)\n", Median(engine),
              Median(floor), Median(engine) / Median(floor), rounds);
  fs::remove_all(dir);
  return 0;
}
