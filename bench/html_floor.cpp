// The import of a site beside its floor: parsing and saving the same pages with libxml2.
//
// Usage: html_floor HTML [ROUNDS]
#include <libxml/HTMLparser.h>
#include <libxml/tree.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include "builder/epub_base.h"

namespace {

namespace fs = std::filesystem;
constexpr char kImport[] = "import";
constexpr char kSave[] = "save";

struct Cost {
  double seconds;
  long peakKilobytes;
};

// Runs this program again for one measurement: a fork would begin with the memory of its parent.
Cost CostOf(const char* mode, const char* html, const fs::path& dir) {
  const auto start = std::chrono::steady_clock::now();
  const pid_t child = fork();
  if (child == 0) {
    execl("/proc/self/exe", "html_floor", mode, html, dir.c_str(), nullptr);
    _exit(1);
  }
  int status = 0;
  rusage usage{};
  if (wait4(child, &status, 0, &usage) != child || status != 0) std::abort();
  const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
  return {time.count(), usage.ru_maxrss};
}

Cost Median(std::vector<Cost> costs) {
  std::sort(costs.begin(), costs.end(),
            [](const Cost& a, const Cost& b) { return a.seconds < b.seconds; });
  return costs[costs.size() / 2];
}

bool Import(const std::string& html, const fs::path& dir) {
  EpubBase book;
  return book.Init(dir.c_str(), "", "") == EPUB_OK && book.AddHTHLToEpub(html.c_str()) == EPUB_OK;
}

// The inodes of the pages that an import reads cannot be told from outside; their names can, apart
// from the first one's and from numbers given to equal names.
std::vector<fs::path> PagesOf(const std::string& html, const fs::path& book) {
  std::set<std::string> names;
  size_t imported = 0;
  for (const auto& entry : fs::directory_iterator(book)) {
    if (entry.path().extension() != ".html") continue;
    names.insert(entry.path().filename());
    ++imported;
  }
  std::vector<fs::path> pages{html};
  for (const auto& entry : fs::recursive_directory_iterator(fs::path(html).parent_path())) {
    if (names.count(entry.path().filename()) != 0 && pages.size() < imported) {
      pages.push_back(entry.path());
    }
  }
  return pages;
}

bool ParseAndSave(const fs::path& dir) {
  fs::create_directories(dir / "floor");
  std::ifstream list(dir / "pages");
  size_t number = 0;
  for (std::string page; std::getline(list, page);) {
    xmlDoc* doc = htmlReadFile(page.c_str(), "UTF-8", HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING);
    if (doc == nullptr) return false;
    const std::string name = std::to_string(number++) + ".html";
    xmlSaveFileEnc((dir / "floor" / name).c_str(), doc, "UTF-8");
    xmlFreeDoc(doc);
  }
  return true;
}

bool Measured(const std::string& mode, const char* html, const fs::path& dir) {
  return mode == kImport ? Import(html, dir) : ParseAndSave(dir);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 4) return Measured(argv[1], argv[2], argv[3]) ? 0 : 1;
  if (argc < 2) {
    std::fprintf(stderr, "Usage: html_floor HTML [ROUNDS]\n");
    return 2;
  }
  const int rounds = argc > 2 ? static_cast<int>(std::strtol(argv[2], nullptr, 10)) : 5;
  std::string name = (fs::temp_directory_path() / "html-floor-XXXXXX").string();
  const fs::path dir = mkdtemp(name.data());
  if (!Import(argv[1], dir)) std::abort();
  const auto pages = PagesOf(argv[1], dir / "epub_temp" / "epub" / "OEBPS");

  std::ofstream list(dir / "pages");
  for (const fs::path& page : pages) list << page.string() << "\n";
  list.close();

  std::vector<Cost> engine;
  std::vector<Cost> floor;
  for (int round = 0; round < rounds; ++round) {
    engine.push_back(CostOf(kImport, argv[1], dir));
    floor.push_back(CostOf(kSave, argv[1], dir));
  }
  const Cost import = Median(engine);
  const Cost plain = Median(floor);
  std::printf("%zu pages\nimport         %.3f s %ld KB\nparse and save %.3f s %ld KB\nratio %.2f\n",
              pages.size(), import.seconds, import.peakKilobytes, plain.seconds,
              plain.peakKilobytes, import.seconds / plain.seconds);
  fs::remove_all(dir);
  return 0;
}
