// Imports of sites into a book: which files get in, under what names, and where links lead.
#include <gtest/gtest.h>
#include <libxml/uri.h>
#include <sys/stat.h>

#include "builder/epub_base.h"
#include "data_rows.h"
#include "service/epub_service.h"
#include "temp_dir.h"
#include "xml_text.h"

namespace {

namespace fs = std::filesystem;

std::string Joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : " ") + word;
  return text;
}

// A source site, with private files beside it, and a book that it is imported into.
struct Site {
  // With the files of a row, "PATH=CONTENT|..."; "PATH->TARGET" is a link.
  explicit Site(const std::string& files) {
    dir.Write("secret.png", "SECRET");
    dir.Write("site-2/secret.png", "SECRET");
    dir.Write("site/inside/p.png", "PNG");
    mkfifo((dir / "site/pipe.png").c_str(), 0600);
    for (const std::string& file : Split(files, '|')) {
      const size_t middle = file.find_first_of("=>");
      const std::string rest = file.substr(middle + 1);
      if (file[middle] == '>') {
        fs::create_symlink(rest, dir / ("site/" + file.substr(0, middle - 1)));
      } else {
        dir.Write("site/" + file.substr(0, middle), rest);
      }
    }
    fs::create_directory(dir / "work");
    EXPECT_EQ(book.Init((dir / "work").c_str(), "Title", "Author"), 0);
  }

  int Import(const std::string& name = "index.html") {
    return book.AddHTHLToEpub((dir / ("site/" + name)).c_str());
  }
  int Generate() { return book.GenerateEpub((dir / "book.epub").c_str()); }
  std::string PathOf(const std::string& name) const {
    return dir / ("work/epub_temp/epub/OEBPS/" + name);
  }
  std::string Content(const std::string& name) const { return ReadFile(PathOf(name)); }

  // Where the links and pictures of a page lead.
  std::string LinksOf(const std::string& page) const {
    return Joined(XPathTexts(ParseXml(Content(page)), "//*[local-name()='a']/@href|//@src"));
  }
  // What the package document lists besides the navigation document and the style sheet.
  std::string Records() {
    EXPECT_EQ(Generate(), 0);
    auto records = XPathTexts(ParseXml(Content("content.opf")), "//*[local-name()='item']/@href");
    records.erase(records.begin(), records.begin() + 2);
    return Joined(records);
  }

  const TempDir dir;
  EpubBase book;
};

TEST(HtmlImport, TakesInASite) {
  for (const auto& row : DataRows("imported_sites.txt", 5)) {
    SCOPED_TRACE(row[0]);
    Site site(row[1]);
    const std::string styleSheet = site.Content("main.css");
    ASSERT_EQ(site.Import(), 0);
    for (const std::string& page : Split(row[2], '|')) {
      const size_t middle = page.find('=');
      EXPECT_EQ(site.LinksOf(page.substr(0, middle)), page.substr(middle + 1));
    }
    EXPECT_EQ(site.Records(), row[3]);
    for (const std::string& record : Split(row[3], ' ')) {
      char* name = xmlURIUnescapeString(record.c_str(), 0, nullptr);
      EXPECT_TRUE(fs::exists(site.PathOf(name))) << record;
      xmlFree(name);
    }
    for (const std::string& file : Split(row[4], '|')) {
      const size_t middle = file.find('=');
      EXPECT_EQ(site.Content(file.substr(0, middle)), file.substr(middle + 1));
    }
    EXPECT_EQ(site.Content("main.css"), styleSheet);
  }
}

TEST(HtmlImport, NamesAndNumbersHoldForTheBook) {
  Site site("index.html=<img src=p.png>|p.png=PNG");
  EXPECT_EQ(site.book.StartPage(), 0);
  EXPECT_EQ(site.book.EndPage(), 0);
  EXPECT_EQ(site.Import(), 0);
  EXPECT_EQ(site.Import(), 0);
  EXPECT_EQ(site.LinksOf("page-3.html"), "p-2.png");
  EXPECT_EQ(site.Records(), "page-1.html page-2.html p.png page-3.html p-2.png");
  EXPECT_EQ(Joined(XPathTexts(ParseXml(site.Content("toc.ncx")), "//@src")),
            "page-1.html page-2.html page-3.html");
}

TEST(HtmlImport, TitlesPagesByTheirFilesAndCountsRepeatedFiles) {
  Site site("index.html=<a href=a.html>a</a><img src=p.png><img src=p.png>|a.html=x|p.png=PNG");
  ASSERT_EQ(site.Import(), 0);
  EXPECT_EQ(TextsOf(site.Content("a.html"), "title"), std::vector<std::string>{"a"});
  site.Records();
  EXPECT_EQ(XPathTexts(ParseXml(site.Content("content.opf")), "string(//*[@href='a.html']/@id)")[0],
            "rc_4")
      << "the repeated picture has taken an identifier";
}

TEST(HtmlImport, LinksToAStyleSheetUnderItsNewName) {
  Site site("index.html=<p>x|main.css=p {}");
  ASSERT_EQ(site.Import(), 0);
  EXPECT_EQ(XPathTexts(ParseXml(site.Content("page-1.html")), "string(//*[@rel]/@href)")[0],
            "main-2.css");
}

TEST(HtmlImport, MayReachIntoAWiderRoot) {
  Site site("index.html=<img src=../site-2/secret.png>");
  site.book.SetImportRoot((site.dir / "site-2").c_str());
  ASSERT_EQ(site.Import(), 0);
  site.book.SetImportRoot(nullptr);
  ASSERT_EQ(site.Import(), 0);
  EXPECT_EQ(site.LinksOf("page-1.html"), "secret.png");
  EXPECT_EQ(site.LinksOf("page-2.html"), "");
}

TEST(HtmlImport, ReportsWhatFails) {
  Site site("index.html=<p>x</p>|empty.html=");
  EXPECT_EQ(site.Import("none.html"), 404);
  EXPECT_EQ(site.Import("empty.html"), 415);
  EXPECT_EQ(site.Import("pipe.png"), 404);
  EXPECT_EQ(site.Import("inside"), 404);
  EXPECT_EQ(site.book.AddHTHLToEpub(nullptr), 404);
  fs::remove(site.dir / "work/epub_temp/xhtml1-strict.dtd");
  EXPECT_EQ(site.Import(), 402);
  EXPECT_EQ(EpubBase().AddHTHLToEpub((site.dir / "site/index.html").c_str()), 409);
}

TEST(HtmlImport, IsNotPackedWithoutAPageUntilABookBeginsAnew) {
  Site site("index.html=<img src=p.png>|p.png=PNG");
  fs::create_directory(site.PathOf("page-1.html"));
  EXPECT_EQ(site.Import(), 0);
  EXPECT_EQ(site.Generate(), 413);
  EXPECT_FALSE(fs::exists(site.dir / "book.epub"));
  ASSERT_EQ(site.book.Init((site.dir / "work").c_str(), "Title", "Author"), 0);
  EXPECT_EQ(site.Import(), 0);
  EXPECT_EQ(site.Records(), "page-2.html p.png");
}

TEST(HtmlImport, FindsTheDtdUnderAnyPath) {
  const TempDir dir;
  for (const std::string name : {"a b", "a%20b", "caf\xC3\xA9", "\xE9&\"'"}) {
    const std::string html = dir.Write(name + "/x.html", "<p align=left>x</p>");
    EpubBase book;
    ASSERT_EQ(book.Init((dir / name).c_str(), "", ""), 0);
    EXPECT_EQ(book.AddHTHLToEpub(html.c_str()), 0);
    EXPECT_EQ(BodyOf(ReadFile(dir / (name + "/epub_temp/epub/OEBPS/page-1.html"))), "<p>x</p>");
  }
}

TEST(HtmlImport, FollowsLongChainsWithoutRecursion) {
  Site site("");
  constexpr int kPages = 3000;
  for (int i = 0; i < kPages; ++i) {
    const std::string next = std::to_string(i + 1);
    site.dir.Write("site/" + std::to_string(i) + ".html", "<a href=" + next + ".html>next</a>");
  }
  ASSERT_EQ(site.Import("0.html"), 0);
  EXPECT_EQ(Split(site.Records(), ' ').size(), static_cast<size_t>(kPages));
}

TEST(HtmlImport, ChecksThePathBeforeTheHandle) {
  Site site("index.html=<p>x</p>");
  const std::string path = site.dir / "site/index.html";
  TEpubService* service = CreateEpubService();
  EXPECT_EQ(service->AddHtmlToEpub(service->data, path.c_str()), 411);
  EXPECT_EQ(service->AddHtmlToEpub(nullptr, path.c_str()), 411);
  ASSERT_EQ(service->InitEpub(service->data, (site.dir / "work").c_str(), "", ""), 0);
  EXPECT_EQ(service->AddHtmlToEpub(service->data, (site.dir / "none").c_str()), 411);
  EXPECT_EQ(service->AddHtmlToEpub(service->data, nullptr), 411);
  EXPECT_EQ(service->AddHtmlToEpub(service->data, path.c_str()), 0);
  FreeEpubService(service);
}

}  // namespace
