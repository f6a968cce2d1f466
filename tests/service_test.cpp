// The C interface: the record's layout, its safety, the life of the builder behind it, threads.
#include "service/epub_service.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <thread>

#include "builder/epub_base.h"
#include "data_rows.h"
#include "temp_dir.h"
#include "xml_text.h"

namespace {

namespace fs = std::filesystem;

struct FreeService {
  void operator()(TEpubService* service) const { FreeEpubService(service); }
};
using Service = std::unique_ptr<TEpubService, FreeService>;

// Hosts that open the library at run time may have their own declaration of the record.
static_assert(sizeof(TEpubService) == 12 * sizeof(void*));
static_assert(offsetof(TEpubService, Mobi2Epub) == 11 * sizeof(void*));
static_assert(sizeof(TEpubData) == sizeof(void*));

TEST(Service, WithoutABuilderEveryEntryRefuses) {
  const TempDir dir;
  const std::string picture = dir.Write("a.png", "x");
  const std::string output = dir / "book.epub";
  const Service service(CreateEpubService());
  ASSERT_NE(service->data, nullptr);
  EXPECT_EQ(service->data->epub, nullptr);
  for (TEpubData* data : {static_cast<TEpubData*>(nullptr), service->data}) {
    EXPECT_EQ(service->StartPage(data), 410);
    EXPECT_EQ(service->EndPage(data), 410);
    EXPECT_EQ(service->AddTextLineToPage(data, "x"), 410);
    EXPECT_EQ(service->AddTextLineToPage(data, nullptr), 410);
    EXPECT_EQ(service->AddImageToPage(data, picture.c_str()), 410);
    EXPECT_EQ(service->AddImageToEpub(data, picture.c_str()), 410);
    EXPECT_EQ(service->GenerateEpub(data, output.c_str()), 410);
    service->ClearUp(data);
  }
  EXPECT_EQ(service->InitEpub(nullptr, dir.String().c_str(), "", ""), 410);
  FreeEpubService(nullptr);
}

TEST(Service, PassesTheBuildersCodesOn) {
  const TempDir dir;
  const Service service(CreateEpubService());
  TEpubData* data = service->data;
  EXPECT_EQ(service->InitEpub(data, (dir / "no").c_str(), "", ""), 402);
  EXPECT_NE(data->epub, nullptr) << "the builder stays";
  EXPECT_EQ(service->GenerateEpub(data, (dir / "x").c_str()), 409);
  service->ClearUp(data);
  EXPECT_EQ(data->epub, nullptr);
  EXPECT_EQ(service->InitEpub(data, nullptr, nullptr, nullptr), 402);
  service->ClearUp(data);
  EXPECT_EQ(service->InitEpub(data, dir.String().c_str(), nullptr, nullptr), 0);
  const std::string picture = dir.Write("a.png", "x");
  EXPECT_EQ(service->AddTextLineToPage(data, nullptr), 407);
  EXPECT_EQ(service->AddTextLineToPage(data, "\n"), 408);
  EXPECT_EQ(service->AddImageToPage(data, nullptr), 402);
  EXPECT_EQ(service->AddImageToPage(data, picture.c_str()), 409);
  EXPECT_EQ(service->EndPage(data), 409);
  EXPECT_EQ(service->GenerateEpub(data, nullptr), 411);
}

TEST(Service, ReleasesTheBuilderWithItsFiles) {
  const TempDir dir;
  Service service(CreateEpubService());
  TEpubData* data = service->data;
  const auto begin = [&] { EXPECT_EQ(service->InitEpub(data, dir.String().c_str(), "T", "A"), 0); };
  begin();
  EXPECT_EQ(service->StartPage(data), 0);
  EXPECT_TRUE(fs::exists(dir / "epub_temp"));
  service->ClearUp(data);
  EXPECT_FALSE(fs::exists(dir / "epub_temp"));
  EXPECT_EQ(data->epub, nullptr);
  EXPECT_EQ(service->StartPage(data), 410);
  service->ClearUp(data);

  begin();
  const std::unique_ptr<EpubBase> replaced(data->epub);
  begin();
  EXPECT_NE(data->epub, replaced.get()) << "the host's to release";
  service.reset();
  EXPECT_FALSE(fs::exists(dir / "epub_temp"));
}

TEST(Service, TheNoticeTellsTheVersionOnOneLine) {
  const int version = EpubBase::LibraryVersion();
  EXPECT_EQ(version, KAV_EPUB_VERSION_NUMBER);
  const std::string beginning = "Kav EPUB " + std::to_string(version / 1'000'000) + "." +
                                std::to_string(version / 1000 % 1000) + "." +
                                std::to_string(version % 1000) + ". Copyright ";

  char* first = GetEpubCopyright();
  char* second = GetEpubCopyright();
  ASSERT_NE(first, nullptr);
  EXPECT_NE(first, second);
  EXPECT_STREQ(first, second);
  EXPECT_TRUE(std::string(first).starts_with(beginning)) << first;
  EXPECT_EQ(std::string(first).find('\n'), std::string::npos);
  free(first);
  free(second);
}

// Builds books of lines and of a page and converts texts, again and again, in a directory of its
// own.
void BuildBooks(const TempDir& dir, char letter) {
  const std::string text(40, letter);
  const std::string input = dir.Write("in.txt", text + " &eacute; \xE6\xBC\n");
  const std::string page = dir.Write(
      "in.html",
      Unescaped(R"(\*300{<p id=i\# align=left><font>x</font><a href=#i7>y</a><map><img></map>})"));
  const std::string repaired =
      Unescaped(R"(\*300{<p id="i\#"><span>x</span><a href="#i7">y</a><map/></p>})");
  const std::string output = dir / "book.epub";
  const Service service(CreateEpubService());
  for (int round = 0; round < 10; ++round) {
    ASSERT_EQ(service->InitEpub(service->data, dir.String().c_str(), text.c_str(), "&"), 0);
    for (int n = 0; n < 5; ++n) {
      ASSERT_EQ(service->StartPage(service->data), 0);
      ASSERT_EQ(service->AddTextLineToPage(service->data, (text + "\xFF\n").c_str()), 0);
      ASSERT_EQ(service->EndPage(service->data), 0);
    }
    ASSERT_EQ(service->AddHtmlToEpub(service->data, page.c_str()), 0);
    ASSERT_EQ(service->GenerateEpub(service->data, output.c_str()), 0);
    const std::string oebps = dir / "epub_temp/epub/OEBPS/";
    ASSERT_EQ(TextsOf(ReadFile(oebps + "page-5.html"), "p")[0], text + "\uFFFD ");
    ASSERT_EQ(TextsOf(ReadFile(oebps + "content.opf"), "title")[0], text);
    ASSERT_EQ(BodyOf(ReadFile(oebps + "page-6.html")), repaired);
    service->ClearUp(service->data);
    ASSERT_EQ(service->Txt2Epub(input.c_str(), output.c_str(), dir.String().c_str(), "", "",
                                nullptr, nullptr),
              0);
  }
}

TEST(Service, BuildsDifferentBooksOnDifferentThreads) {
  const TempDir dirs[4];
  std::vector<std::thread> threads;
  for (size_t i = 0; i < std::size(dirs); ++i) {
    threads.emplace_back(BuildBooks, std::cref(dirs[i]), static_cast<char>('a' + i));
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
