// Compares two ways of packing a book: libzip with its own deflating, and libKav_Ebase.
//
//   pack_containers [pages...]
//
// Each run has a process of its own, so that its peak memory is its own; the two take turns, and
// the median counts. Both end with the container safely on the disk.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <zip.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/kav_ebase/kav_ebase.h"

namespace {

namespace fs = std::filesystem;

constexpr int kRounds = 5;
constexpr size_t kTextSize = 4000;
constexpr size_t kVocabulary = 8000;
constexpr const char* kPageStart =
    "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
    "<!DOCTYPE html PUBLIC \"-//W3C//DTD XHTML 1.0 Strict//EN\" "
    "\"http://www.w3.org/TR/xhtml1/DTD/xhtml1-strict.dtd\">\n"
    "<html xmlns=\"http://www.w3.org/1999/xhtml\">\n<head><title>Page</title></head>\n<body>\n";
constexpr const char* kPageEnd = "</body>\n</html>\n";

void WriteFile(const fs::path& path, const std::string& content) {
  fs::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << content;
}

// Words of a made-up language, the frequent ones far more frequent than the rest, as in any
// language.
class TextSource {
 public:
  TextSource() {
    std::uniform_int_distribution<int> length(2, 9);
    std::discrete_distribution<int> letter{8, 2, 3, 4, 13, 2, 2, 6, 7, 1, 1, 4, 3,
                                           7, 8, 2, 1, 6,  6, 9, 3, 1, 2, 1, 2, 1};
    for (std::string& word : words) {
      word.resize(static_cast<size_t>(length(generator)));
      for (char& place : word) place = static_cast<char>('a' + letter(generator));
    }
  }

  std::string Page() {
    std::uniform_real_distribution<double> share(0, 1);
    std::string text = kPageStart;
    for (const size_t end = text.size() + kTextSize; text.size() < end;) {
      text += "<p>";
      for (int word = 0; word < 60; ++word) {
        const double rank = std::pow(static_cast<double>(kVocabulary), share(generator)) - 1;
        text += words[static_cast<size_t>(rank)] + ' ';
      }
      text += "</p>\n";
    }
    return text + kPageEnd;
  }

 private:
  std::mt19937 generator{1};  // NOLINT(cert-msc32-c,cert-msc51-cpp): the same book each time
  std::array<std::string, kVocabulary> words;
};

void MakeBook(const fs::path& book, int pages) {
  TextSource source;
  WriteFile(book / "mimetype", "application/epub+zip");
  WriteFile(book / "META-INF/container.xml", kPageStart);
  for (int page = 1; page <= pages; ++page) {
    WriteFile(book / "OEBPS" / ("page-" + std::to_string(page) + ".html"), source.Page());
  }
}

int PackWithLibzip(const std::string& book, const std::string& epub) {
  zip_t* archive = zip_open(epub.c_str(), ZIP_CREATE | ZIP_TRUNCATE, nullptr);
  if (archive == nullptr) return 1;
  std::vector<std::string> names{"mimetype"};
  for (const auto& entry : fs::recursive_directory_iterator(book)) {
    std::string name = entry.path().lexically_relative(book);
    if (entry.is_regular_file() && name != names[0]) names.push_back(std::move(name));
  }
  std::sort(names.begin() + 1, names.end());
  for (const std::string& name : names) {
    const std::string path = fs::path(book) / name;
    zip_source_t* source = zip_source_file(archive, path.c_str(), 0, -1);
    const zip_int64_t index = zip_file_add(archive, name.c_str(), source, ZIP_FL_ENC_UTF_8);
    if (index < 0) return 1;
    if (index == 0) zip_set_file_compression(archive, 0, ZIP_CM_STORE, 0);
  }
  if (zip_close(archive) != 0) return 1;
  const int file = open(epub.c_str(), O_RDONLY | O_CLOEXEC);
  const int result = fsync(file);
  close(file);
  return result;
}

int PackWithKavEbase(const std::string& book, const std::string& epub) {
  return Kav_CreateEpubFromDir(book.c_str(), epub.c_str());
}

constexpr size_t kMeasures = 4;
using Measures = std::array<double, kMeasures>;
constexpr std::array<const char*, kMeasures> kMeasureNames{"wall s", "CPU s", "peak MiB",
                                                           "size MiB"};

struct Packer {
  const char* name;
  int (*pack)(const std::string& book, const std::string& epub);
};
constexpr std::array kPackers{Packer{"libzip", PackWithLibzip},
                              Packer{"libKav_Ebase", PackWithKavEbase}};

double Seconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

Measures Run(const Packer& packer, const std::string& book, const std::string& epub) {
  fs::remove(epub);
  const auto start = std::chrono::steady_clock::now();
  const pid_t child = fork();
  if (child == 0) _exit(packer.pack(book, epub) == 0 ? 0 : 1);
  int status = 0;
  rusage usage{};
  wait4(child, &status, 0, &usage);
  const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - start;
  if (status != 0) {
    throw std::runtime_error(std::string(packer.name) + " failed");
  }
  return {wall.count(), Seconds(usage.ru_utime) + Seconds(usage.ru_stime),
          static_cast<double>(usage.ru_maxrss) / 1024,
          static_cast<double>(fs::file_size(epub)) / (1 << 20)};
}

Measures Medians(const std::vector<Measures>& runs) {
  Measures medians{};
  for (size_t measure = 0; measure < kMeasures; ++measure) {
    std::vector<double> values(runs.size());
    std::transform(runs.begin(), runs.end(), values.begin(),
                   [&](const Measures& run) { return run[measure]; });
    std::nth_element(values.begin(), values.begin() + kRounds / 2, values.end());
    medians[measure] = values[kRounds / 2];
  }
  return medians;
}

void PrintRow(const char* name, const Measures& values) {
  printf("  %-24s", name);
  for (const double value : values) printf("%12.3f", value);
  printf("\n");
}

void Compare(const fs::path& scratch, int pages) {
  const fs::path book = scratch / "book";
  MakeBook(book, pages);
  std::array<std::vector<Measures>, kPackers.size()> runs;
  for (int round = 0; round < kRounds; ++round) {
    for (size_t i = 0; i < kPackers.size(); ++i) {
      runs[i].push_back(Run(kPackers[i], book, scratch / "book.epub"));
    }
  }
  fs::remove_all(book);

  printf("%d pages\n  %-24s", pages, "median of 5");
  for (const char* name : kMeasureNames) printf("%12s", name);
  printf("\n");
  std::array<Measures, kPackers.size()> medians;
  for (size_t i = 0; i < kPackers.size(); ++i) {
    medians[i] = Medians(runs[i]);
    PrintRow(kPackers[i].name, medians[i]);
  }
  Measures ratios{};
  for (size_t i = 0; i < kMeasures; ++i) ratios[i] = medians[1][i] / medians[0][i];
  PrintRow("libKav_Ebase / libzip", ratios);
}

}  // namespace

int main(int argc, char** argv) {
  std::string scratch = fs::temp_directory_path() / "kav-bench-XXXXXX";
  if (mkdtemp(scratch.data()) == nullptr) return EXIT_FAILURE;
  int result = EXIT_SUCCESS;
  try {
    std::vector<int> books;
    for (int i = 1; i < argc; ++i) books.push_back(std::stoi(argv[i]));
    if (books.empty()) books = {1000, 50000};
    for (const int pages : books) Compare(scratch, pages);
  } catch (const std::exception& failure) {
    puts(failure.what());
    result = EXIT_FAILURE;
  }
  fs::remove_all(scratch);
  return result;
}
