// The MOBI conversion with a substitute reader: calls, order, progress, release and codes.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "builder/epub_base.h"
#include "convert/epub_management.h"
#include "service/epub_service.h"
#include "substitute_mobi.h"
#include "temp_dir.h"

namespace {

using Strings = std::vector<std::string>;

const Strings kOpened = {"Create", "Open"};
const Strings kExtracted = {"Create", "Open", "ExtractHtml"};
const Strings kTitled = {"Create", "Open", "ExtractHtml", "GetTitle", "GetAuthor"};
const Strings kCovered = {"Create",   "Open",      "ExtractHtml",
                          "GetTitle", "GetAuthor", "GetCoverImage"};
constexpr int kNever = 0;

struct Host {
  int cancelAt = kNever;
  std::vector<int> done;

  static int OnProgress(void* user, int done, int total) {
    auto* host = static_cast<Host*>(user);
    EXPECT_EQ(total, 10);
    host->done.push_back(done);
    return done == host->cancelAt ? -2 : -1;  // only -2 means anything
  }
};

struct Case {
  const char* name;
  int code;
  bool makesBook;
  Strings calls;  // before Close and Free
  std::vector<int> progress;
  int cancelAt = kNever;
  SubstituteMobi told = {};
};

void PrintTo(const Case& row, std::ostream* out) {
  *out << row.name;
}

class MobiConversion : public testing::TestWithParam<Case> {
 protected:
  MobiConversion() { std::filesystem::create_directory(dir / "work"); }

  int Convert(Host& host, const std::string& book) {
    const std::string work = dir / "work";
    EpubManagement management;
    management.Init(work.c_str(), "ignored", "ignored");
    const int code = management.Mobi2Epub("in.mobi", book.c_str(), &host, Host::OnProgress);
    css = ReadFile(work + "/epub_temp/epub/OEBPS/main.css");
    opf = ReadFile(work + "/epub_temp/epub/OEBPS/content.opf");
    scratchStays = std::filesystem::exists(work + "/process_tmp");
    management.ClearData();
    EXPECT_TRUE(std::filesystem::is_empty(work));
    return code;
  }

  TempDir dir;
  std::string css;
  std::string opf;
  bool scratchStays = false;
};

SubstituteMobi Told(auto change) {
  SubstituteMobi told;
  change(told);
  return told;
}

const std::vector<int> kAllSteps = {1, 6, 7, 8, 9, 10};
const Case kCases[] = {
    {"Whole", 0, true, kCovered, kAllSteps},
    {"WithCover", 0, true, kCovered, kAllSteps, kNever, Told([](auto& t) { t.cover = "c.jpg"; })},
    {"WithCoverInADirectory", 0, true, kCovered, kAllSteps, kNever,
     Told([](auto& t) { t.cover = "images/c.jpg"; })},
    {"CoverFileMissing", 0, true, kCovered, kAllSteps, kNever, Told([](auto& t) {
       t.cover = "c.jpg";
       t.writesCover = false;
     })},
    {"CoverOutsideIsLeftOut", 0, true, kCovered, kAllSteps, kNever, Told([](auto& t) {
       t.cover = "../../outside.jpg";
       t.writesCover = false;
     })},
    {"NullTitleAndAuthor", 0, true, kCovered, kAllSteps, kNever, Told([](auto& t) {
       t.title = nullptr;
       t.author = nullptr;
     })},
    {"OpenFails", 777, false, kOpened, {}, kNever, Told([](auto& t) { t.openResult = 777; })},
    {"ExtractFails", -5, false, kExtracted, {1}, kNever, Told([](auto& t) {
       t.extractResult = -5;
     })},
    {"ImportFails", EPUB_E_NOT_FOUND, false, kCovered, {1, 6, 7, 8}, kNever, Told([](auto& t) {
       t.html = "<frameset></frameset>";
     })},
    {"CancelledAt1", 0, false, kOpened, {1}, 1},
    {"CancelledAt6", 0, false, kExtracted, {1, 6}, 6},
    {"CancelledAt7", 0, false, kTitled, {1, 6, 7}, 7},
    {"CancelledAt8", 0, false, kCovered, {1, 6, 7, 8}, 8},
    {"CancelledAt9", 0, false, kCovered, {1, 6, 7, 8, 9}, 9},
    {"TooLateToCancel", 0, true, kCovered, kAllSteps, 10},
};

TEST_P(MobiConversion, CallsTheReaderInOrderAndReleasesItOnce) {
  const Case& row = GetParam();
  Substitute() = row.told;
  dir.Write("outside.jpg", "\xFF\xD8\xFF private");
  Host host;
  host.cancelAt = row.cancelAt;
  EXPECT_EQ(Convert(host, dir / "out.epub"), row.code);
  Strings calls = row.calls;
  calls.insert(calls.end(), {"Close", "Free"});
  EXPECT_EQ(Substitute().calls, calls);
  EXPECT_EQ(host.done, row.progress);
  EXPECT_EQ(std::filesystem::exists(dir / "out.epub"), row.makesBook);
  EXPECT_EQ(scratchStays, row.calls.size() > kOpened.size());
  EXPECT_EQ(opf.find("outside.jpg"), std::string::npos);
  const bool hasCover = row.told.cover != nullptr && row.told.writesCover && row.makesBook;
  EXPECT_EQ(opf.find("href=\"images/c.jpg\"") != std::string::npos, hasCover);
}

INSTANTIATE_TEST_SUITE_P(Paths, MobiConversion, testing::ValuesIn(kCases),
                         [](const auto& test) { return test.param.name; });

using MobiConversionDetails = MobiConversion;
INSTANTIATE_TEST_SUITE_P(Once, MobiConversionDetails, testing::Values(kCases[0]),
                         [](const auto&) { return "Whole"; });

TEST_P(MobiConversionDetails, AppendsTheParagraphRule) {
  Substitute() = {};
  Host host;
  ASSERT_EQ(Convert(host, dir / "out.epub"), EPUB_OK);
  const std::string rule =
      "p { display: block; \n margin-bottom: 0; \nmargin-left: 0; \nmargin-right: 0; \n"
      "margin-top: 0; \ntext-indent: 1em }";
  EXPECT_TRUE(css.ends_with("img.img1 {\nwidth: 100%\n}\n" + rule)) << css;
  EXPECT_NE(opf.find("<dc:title>A Title</dc:title><dc:creator>An Author</dc:creator>"),
            std::string::npos);
}

TEST_P(MobiConversionDetails, LooksAtTheOutputDirectoryFirst) {
  Substitute() = {};
  Host host;
  for (const std::string& path : {dir / "missing/out.epub", std::string()}) {
    EXPECT_EQ(Convert(host, path), EPUB_E_OUTPUT_DIR);
  }
  EXPECT_TRUE(Substitute().calls.empty());
}

TEST_P(MobiConversionDetails, TheRecordCleansUpAndNeedsNoCallback) {
  Substitute() = {};
  TEpubService* service = CreateEpubService();
  const std::string book = dir / "out.epub";
  const std::string work = dir / "work";
  EXPECT_EQ(service->Mobi2Epub("in.mobi", book.c_str(), work.c_str(), nullptr, nullptr), EPUB_OK);
  EXPECT_EQ(service->Mobi2Epub("in.mobi", nullptr, work.c_str(), nullptr, nullptr),
            EPUB_E_OUTPUT_DIR);
  EXPECT_TRUE(std::filesystem::exists(book));
  EXPECT_TRUE(std::filesystem::is_empty(work));
  FreeEpubService(service);
}

}  // namespace
