// The C record, driven by any sequence of calls: each gives the code of the documentation, and
// every book that is reported as written is a good one. Each line of the input is a call: the
// function, the handle and the file (see the tables), and a text.
#include <sstream>

#include "fuzz/book_check.h"
#include "fuzz/harness.h"
#include "service/epub_service.h"

namespace {

constexpr const char* kFiles[] = {
    "in/index.html", "in/a.txt",   "in/p.png", "in/b/p.png", "in/plain",
    "in/q.wmf",      "in/missing", "in/b",     "",           nullptr};
constexpr size_t kExisting = 6;  // of the files
constexpr size_t kDirectory = 7;
constexpr size_t kHandles = 4;  // of two records, of a cell without a builder, and none

struct Call {
  TEpubService* service;
  TEpubData* data;
  bool hasBuilder, isPageOpen;
  size_t fileNumber;
  const char *file, *work, *text, *output;

  bool NamesPage() const { return fileNumber == 0; }
  bool HasFile() const { return fileNumber < kExisting; }
  bool NamesFile() const { return file != nullptr && *file != 0; }
  int OfBuilder(int code) const { return hasBuilder ? code : 410; }
};

constexpr int kUncertain = -1;  // 0, or 408 without a page
constexpr int kLeftOut = -2;    // what a host must not do, and would get a strange book of

struct {
  const char* name;
  int (*run)(const Call&);
  int (*expected)(const Call&);
  int pagesOpened;
} const kFunctions[] = {
    {"InitEpub",
     [](const Call& c) {
       c.service->ClearUp(c.data);
       return c.service->InitEpub(c.data, c.work, c.text, c.file);
     },
     [](const Call& c) { return c.data == nullptr ? 410 : 0; }, -1},
    {"ClearUp", [](const Call& c) { return c.service->ClearUp(c.data), 0; },
     [](const Call&) { return 0; }, 0},
    {"StartPage", [](const Call& c) { return c.service->StartPage(c.data); },
     [](const Call& c) { return c.OfBuilder(0); }, 1},
    {"EndPage", [](const Call& c) { return c.service->EndPage(c.data); },
     [](const Call& c) { return c.OfBuilder(c.isPageOpen ? 0 : 409); }, -1},
    {"AddTextLineToPage",
     [](const Call& c) { return c.service->AddTextLineToPage(c.data, c.text); },
     [](const Call& c) {
       return c.OfBuilder(*c.text == 0 ? 407 : c.isPageOpen ? 0 : kUncertain);
     },
     0},
    {"AddImageToPage", [](const Call& c) { return c.service->AddImageToPage(c.data, c.file); },
     [](const Call& c) {
       if (c.NamesPage()) return kLeftOut;
       return c.OfBuilder(!c.HasFile() ? 402 : c.isPageOpen ? 0 : 409);
     },
     0},
    {"AddImageToEpub", [](const Call& c) { return c.service->AddImageToEpub(c.data, c.file); },
     [](const Call& c) {
       if (c.isPageOpen || c.NamesPage()) return kLeftOut;
       return c.OfBuilder(c.HasFile() ? 0 : 402);
     },
     0},
    {"AddHtmlToEpub", [](const Call& c) { return c.service->AddHtmlToEpub(c.data, c.file); },
     [](const Call& c) {
       if (c.isPageOpen || !c.hasBuilder) return c.isPageOpen ? kLeftOut : 411;
       return c.HasFile() ? 0 : c.fileNumber == kDirectory ? 404 : 411;
     },
     0},
    {"GenerateEpub",
     [](const Call& c) {
       return c.service->GenerateEpub(c.data, c.NamesFile() ? c.output : c.file);
     },
     [](const Call& c) { return c.OfBuilder(c.NamesFile() ? 0 : 411); }, 0},
    {"Txt2Epub",
     [](const Call& c) {
       c.service->ClearUp(c.data);  // whose directory it uses
       return c.service->Txt2Epub(c.file, c.output, c.work, "", nullptr, nullptr, nullptr);
     },
     [](const Call& c) {
       if (c.HasFile()) return 0;
       return c.NamesFile() ? 404 : 411;
     },
     -1},
};

}  // namespace

void Fuzz(const std::string& input, Sandbox& box) {
  const std::string page = "<p><a href='a.txt'>x</a><img src='b/p.png'>";
  for (size_t i = 0; i < kExisting; ++i) box.Keep(kFiles[i], i == 0 ? page : "Text\n  x\n");
  TEpubService* services[] = {CreateEpubService(), CreateEpubService()};
  TEpubData empty{nullptr};
  TEpubData* const cells[kHandles] = {services[0]->data, services[1]->data, &empty, nullptr};
  bool isPageOpen[kHandles] = {};
  const std::string output = box / "out/book.epub";
  std::istringstream lines(input);
  for (std::string line; std::getline(lines, line);) {
    line.resize(std::max<size_t>(line.size(), 3));
    const auto byte = [&](size_t i) { return static_cast<unsigned char>(line[i]); };
    const auto& function = kFunctions[byte(0) % std::size(kFunctions)];
    const size_t handle = byte(1) % kHandles;
    const size_t number = byte(2) % std::size(kFiles);
    const std::string name = kFiles[number] == nullptr ? "" : kFiles[number];
    const std::string file = name.empty() ? "" : box / name;
    const std::string work = box / ("work/" + std::to_string(handle));
    std::filesystem::create_directory(work);
    TEpubData* const cell = cells[handle];
    const bool hasBuilder = cell != nullptr && cell->epub != nullptr;
    const Call call{services[0],   cell,
                    hasBuilder,    isPageOpen[handle],
                    number,        kFiles[number] == nullptr ? nullptr : file.c_str(),
                    work.c_str(),  line.c_str() + 3,
                    output.c_str()};
    const int expected = function.expected(call);
    if (expected == kLeftOut) continue;
    std::filesystem::remove(output);
    const int code = function.run(call);
    const bool fits = expected == kUncertain ? code == 0 || code == 408 : code == expected;
    Require(fits, function.name + (" gives " + std::to_string(code)));
    if (std::filesystem::exists(output)) CheckBook(output, box.Secret());
    if (code == EPUB_OK && function.pagesOpened != 0) {
      isPageOpen[handle] = function.pagesOpened > 0;
    }
    if (cell == nullptr || cell->epub == nullptr) isPageOpen[handle] = false;
  }
  services[0]->ClearUp(&empty);
  for (TEpubService* service : services) FreeEpubService(service);
  for (const auto& directory : std::filesystem::directory_iterator(box / "work")) {
    Require(std::filesystem::is_empty(directory), "nothing is left");
  }
}
