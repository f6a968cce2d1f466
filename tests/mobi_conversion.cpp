// The MOBI conversion with a substitute reader: calls, order, progress, release and codes.
#include <gtest/gtest.h>

#include "builder/epub_base.h"
#include "convert/epub_management.h"
#include "data_rows.h"
#include "service/epub_service.h"
#include "substitute_mobi.h"
#include "temp_dir.h"
#include "xml_text.h"

namespace {

namespace fs = std::filesystem;

const std::vector<std::string> kCalls = {"Create",   "Open",      "ExtractHtml",
                                         "GetTitle", "GetAuthor", "GetCoverImage"};
const std::vector<int> kSteps = {1, 6, 7, 8, 9, 10};

struct Host {
  std::string cancelAt = "none";
  std::vector<int> done;

  static int OnProgress(void* user, int done, int total) {
    auto* host = static_cast<Host*>(user);
    EXPECT_EQ(total, 10);
    host->done.push_back(done);
    return std::to_string(done) == host->cancelAt ? -2 : -1;  // only -2 means anything
  }
};

class MobiConversion : public testing::Test {
 protected:
  MobiConversion() {
    Substitute() = {};
    fs::create_directory(dir / "work");
    dir.Write("outside.jpg", "\xFF\xD8\xFF private");
  }

  int Convert(const std::string& epub) {
    EpubManagement management;
    management.Init(work.c_str(), "ignored", "ignored");
    const int code = management.Mobi2Epub("in.mobi", epub.c_str(), &host, Host::OnProgress);
    css = ReadFile(work + "/epub_temp/epub/OEBPS/main.css");
    opf = ReadFile(work + "/epub_temp/epub/OEBPS/content.opf");
    hasScratch = fs::exists(work + "/process_tmp");
    management.ClearData();
    EXPECT_TRUE(fs::is_empty(work));
    return code;
  }

  TempDir dir;
  Host host;
  const std::string work = dir / "work";
  const std::string book = dir / "out.epub";
  std::string css;
  std::string opf;
  bool hasScratch = false;
};

TEST_F(MobiConversion, CallsTheReaderInOrderAndReleasesItOnce) {
  for (const auto& row : DataRows("mobi_conversions.txt", 7)) {
    SCOPED_TRACE(row[0]);
    Substitute() = {};
    for (const std::string& told : Split(row[1], '|')) {
      const size_t middle = told.find('=');
      Substitute().told.at(told.substr(0, middle)) = told.substr(middle + 1);
    }
    host = {row[2], {}};
    fs::remove(book);
    EXPECT_EQ(Convert(book), std::stoi(row[3]));
    std::vector<std::string> calls(kCalls.begin(), kCalls.begin() + std::stoi(row[4]));
    calls.insert(calls.end(), {"Close", "Free"});
    EXPECT_EQ(Substitute().calls, calls);
    EXPECT_EQ(host.done, std::vector<int>(kSteps.begin(), kSteps.begin() + std::stoi(row[5])));
    EXPECT_EQ(fs::exists(book), host.done == kSteps);
    EXPECT_EQ(hasScratch, std::stoi(row[4]) > 2) << "from the first file on";
    const auto pictures = XPathTexts(
        ParseXml(opf), "//*[contains(@media-type, 'image')][contains(@href, '/')]/@href");
    EXPECT_EQ(host.done == kSteps && pictures.size() == 1 ? pictures[0] : "none", row[6]);
  }
}

TEST_F(MobiConversion, TakesTheTextsOfTheReaderAndAppendsAParagraphRule) {
  ASSERT_EQ(Convert(book), EPUB_OK);
  EXPECT_EQ(TextsOf(opf, "title")[0] + " by " + TextsOf(opf, "creator")[0], "A Title by An Author");
  EXPECT_TRUE(
      css.ends_with("img.img1 {\nwidth: 100%\n}\n"
                    "p { display: block; \n margin-bottom: 0; \nmargin-left: 0; \n"
                    "margin-right: 0; \nmargin-top: 0; \ntext-indent: 1em }"))
      << css;
}

TEST_F(MobiConversion, LooksAtTheOutputDirectoryFirst) {
  EXPECT_EQ(Convert(dir / "missing/out.epub"), EPUB_E_OUTPUT_DIR);
  EXPECT_EQ(Convert(""), EPUB_E_OUTPUT_DIR);
  EXPECT_TRUE(Substitute().calls.empty());
}

TEST_F(MobiConversion, CleansUpAndNeedsNoCallback) {
  TEpubService* service = CreateEpubService();
  EXPECT_EQ(service->Mobi2Epub("in.mobi", book.c_str(), work.c_str(), nullptr, nullptr), EPUB_OK);
  EXPECT_EQ(service->Mobi2Epub("in.mobi", nullptr, work.c_str(), nullptr, nullptr),
            EPUB_E_OUTPUT_DIR);
  EXPECT_TRUE(fs::exists(book));
  EXPECT_TRUE(fs::is_empty(work));
  FreeEpubService(service);
}

}  // namespace
