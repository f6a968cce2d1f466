// The C record, driven by any sequence of calls: codes are those of the documentation, and every
// book that is reported as written is a good one. Each line of the input is one call: the function,
// the handle, the file (see the tables), and a text.
#include "fuzz/book_check.h"
#include "fuzz/harness.h"
#include "service/epub_service.h"

namespace {

// Two records, a cell without a builder, and none.
constexpr size_t kHandles = 4;
constexpr size_t kRecords = 2;

constexpr const char* kFiles[] = {
    "in/index.html", "in/a.txt",   "in/p.png", "in/b/p.png", "in/plain",
    "in/q.wmf",      "in/missing", "in/b",     "",           nullptr};
constexpr size_t kExisting = 6;  // of the files

struct State {
  TEpubService* service = CreateEpubService();
  bool isPageOpen = false;
};

class Calls {
 public:
  explicit Calls(Sandbox& sandbox) : box(sandbox) {
    const std::string page = "<p><a href='a.txt'>x</a><img src='b/p.png'>";
    for (size_t i = 0; i < kExisting; ++i) box.Write(kFiles[i], i == 0 ? page : "Some text\n  x\n");
    for (size_t i = 0; i < kRecords; ++i) {
      std::filesystem::create_directory(box / WorkDir(i));
    }
  }
  ~Calls() {
    for (State& state : states) FreeEpubService(state.service);
  }
  Calls(const Calls&) = delete;
  Calls& operator=(const Calls&) = delete;

  void Run(const std::string& line) {
    const auto at = [&](size_t i) {
      return i < line.size() ? static_cast<unsigned char>(line[i]) : 0U;
    };
    handle = at(1) % kHandles;
    fileNumber = at(2) % std::size(kFiles);
    text = line.size() > 3 ? line.substr(3).c_str() : "";
    const std::string name = File() == nullptr ? "" : kFiles[fileNumber];
    file = name.empty() ? "" : box / name;
    data = handle < kRecords ? states[handle].service->data : handle == kRecords ? &empty : nullptr;
    hasBuilder = data != nullptr && data->epub != nullptr;
    constexpr void (Calls::*kCalls[])() = {&Calls::Begin,   &Calls::Clear,    &Calls::StartPage,
                                           &Calls::EndPage, &Calls::Line,     &Calls::Picture,
                                           &Calls::Sheet,   &Calls::Generate, &Calls::Html,
                                           &Calls::Convert, &Calls::Renew};
    (this->*kCalls[at(0) % std::size(kCalls)])();
  }

 private:
  static std::string WorkDir(size_t record) { return "work/" + std::to_string(record); }

  const char* File() const { return kFiles[fileNumber] == nullptr ? nullptr : file.c_str(); }
  bool FileExists() const { return fileNumber < kExisting; }
  bool& IsPageOpen() { return states[handle].isPageOpen; }

  void Expect(const char* call, int code, int expected) const {
    Require(code == expected, std::string(call) + " gives " + std::to_string(expected) + ", not " +
                                  std::to_string(code));
  }

  void Begin() {
    Clear();
    if (handle >= kRecords) return Expect("InitEpub", service.InitEpub(nullptr, "", "", ""), 410);
    const bool isPossible = fileNumber != kExisting;  // else in a directory that is missing
    const std::string dir = box / (isPossible ? WorkDir(handle) : kFiles[kExisting]);
    Expect("InitEpub", service.InitEpub(data, dir.c_str(), text.c_str(), File()),
           isPossible ? 0 : 402);
    IsPageOpen() = false;
    if (!isPossible) Clear();
  }
  void Clear() {
    service.ClearUp(data);
    Require(data == nullptr || data->epub == nullptr, "ClearUp releases the builder");
    if (handle < kRecords) box.RequireEmpty(WorkDir(handle));
  }
  void StartPage() {
    Expect("StartPage", service.StartPage(data), hasBuilder ? 0 : 410);
    if (hasBuilder) IsPageOpen() = true;
  }
  void EndPage() {
    Expect("EndPage", service.EndPage(data), !hasBuilder ? 410 : IsPageOpen() ? 0 : 409);
    if (hasBuilder) IsPageOpen() = false;
  }
  void Line() {
    const char* line = kFiles[fileNumber] == nullptr ? nullptr : text.c_str();
    const int code = service.AddTextLineToPage(data, line);
    const bool isEmpty = line == nullptr || text.empty();
    if (code == 408) return Require(hasBuilder && !IsPageOpen(), "408 without a page");
    Expect("AddTextLineToPage", code, !hasBuilder ? 410 : isEmpty ? 407 : 0);
  }
  void Picture() {
    const int expected = !hasBuilder ? 410 : !FileExists() ? 402 : IsPageOpen() ? 0 : 409;
    Expect("AddImageToPage", service.AddImageToPage(data, File()), expected);
  }
  // Sheets and imports have their place between pages.
  void Sheet() {
    if (hasBuilder && IsPageOpen()) return;
    const int expected = !hasBuilder ? 410 : FileExists() ? 0 : 402;
    Expect("AddImageToEpub", service.AddImageToEpub(data, File()), expected);
  }
  void Html() {
    if (hasBuilder && IsPageOpen()) return;
    const int code = service.AddHtmlToEpub(data, File());
    const bool isKnown = code == 0 || code == 404 || code == 415;
    Require(hasBuilder && FileExists() ? isKnown : code == 411 || code == 404,
            "AddHtmlToEpub's code");
  }
  void Generate() {
    const int code =
        service.GenerateEpub(data, kFiles[fileNumber] == nullptr ? nullptr : Output().c_str());
    Expect("GenerateEpub", code, !hasBuilder ? 410 : kFiles[fileNumber] == nullptr ? 411 : 0);
    CheckOutput(code);
  }
  void Convert() {
    if (handle < kRecords) Clear();  // it has the same directory
    const int code = service.Txt2Epub(File(), Output().c_str(), (box / WorkDir(handle % 2)).c_str(),
                                      nullptr, nullptr, nullptr, nullptr);
    const bool isGiven = kFiles[fileNumber] != nullptr && *kFiles[fileNumber] != 0;
    Expect("Txt2Epub", code, FileExists() ? 0 : isGiven ? 404 : 411);
    CheckOutput(code);
  }
  void Renew() {
    if (handle >= kRecords) return FreeEpubService(nullptr);
    FreeEpubService(states[handle].service);
    states[handle] = {};
  }

  std::string Output() const { return box / ("out/" + std::to_string(handle)); }
  void CheckOutput(int code) const {
    if (code == 0) CheckBook(Output(), box.Secret());
  }

  Sandbox& box;
  State states[kRecords];
  TEpubData empty{nullptr};
  const TEpubService service = *states[0].service;  // of which the functions count
  size_t handle = 0;
  size_t fileNumber = 0;
  std::string text;
  std::string file;
  TEpubData* data = nullptr;
  bool hasBuilder = false;
};

}  // namespace

void Fuzz(const std::string& input, Sandbox& box) {
  Calls calls(box);
  for (size_t at = 0; at < input.size(); at = input.find('\n', at) + 1) {
    calls.Run(input.substr(at, input.find('\n', at) - at));
    if (input.find('\n', at) == std::string::npos) break;
  }
}
