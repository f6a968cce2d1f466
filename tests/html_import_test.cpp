// Imports of sites into a book: which files get in, under what names, and where links lead.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <regex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "builder/epub_base.h"
#include "service/epub_service.h"
#include "temp_dir.h"

namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

// All values that an expression's group takes in a text.
Names Matches(const std::string& text, const std::string& expression) {
  const std::regex regex(expression);
  Names found;
  for (std::sregex_iterator match(text.begin(), text.end(), regex), end; match != end; ++match) {
    found.push_back((*match)[1]);
  }
  return found;
}

// A source site and a book that it is imported into.
class Site {
 public:
  Site() {
    fs::create_directory(dir / "work");
    EXPECT_EQ(book.Init((dir / "work").c_str(), "Title", "Author"), 0);
  }

  void Write(const std::string& name, const std::string& content) const {
    dir.Write("site/" + name, content);
  }
  int Import(const std::string& name = "index.html") {
    return book.AddHTHLToEpub((dir / ("site/" + name)).c_str());
  }
  std::string PathOf(const std::string& name) const {
    return dir / ("work/epub_temp/epub/OEBPS/" + name);
  }
  bool Has(const std::string& name) const { return fs::exists(PathOf(name)); }
  std::string Content(const std::string& name) const { return ReadFile(PathOf(name)); }

  // Where the links and pictures of a page lead.
  Names LinksOf(const std::string& page) const {
    return Matches(Content(page), "(?:<a[^>]* href|<img[^>]* src)=\"([^\"]*)\"");
  }
  // What the package document lists besides the navigation document and the style sheet.
  Names Records() {
    EXPECT_EQ(book.GenerateEpub((dir / "book.epub").c_str()), 0);
    Names records = Matches(Content("content.opf"), "<item [^>]*href=\"([^\"]*)\"");
    records.erase(records.begin(), records.begin() + 2);
    return records;
  }

  const TempDir dir;
  EpubBase book;
};

TEST(Import, NumbersTheTopPageAndKeepsOtherNames) {
  Site site;
  site.Write("a/index.html", R"(<a href="chapter2.htm">2</a><img src="img/p.png">)");
  site.Write("a/chapter2.htm", "<p>Two</p>");
  site.Write("a/img/p.png", "PNG");
  ASSERT_EQ(site.Import("a/index.html"), 0);
  EXPECT_EQ(site.LinksOf("page-1.html"), (Names{"chapter2.htm", "p.png"}));
  EXPECT_EQ(site.Content("p.png"), "PNG");
  EXPECT_NE(site.Content("chapter2.htm").find("<title>chapter2</title>"), std::string::npos);
  EXPECT_EQ(site.Records(), (Names{"page-1.html", "p.png", "chapter2.htm"}));
  EXPECT_EQ(Matches(site.Content("toc.ncx"), "content src=\"([^\"]*)\""),
            (Names{"page-1.html", "chapter2.htm"}));
}

TEST(Import, SharesTheNumbersOfPages) {
  Site site;
  site.Write("index.html", "<p>x</p>");
  EXPECT_EQ(site.book.StartPage(), 0);
  EXPECT_EQ(site.book.EndPage(), 0);
  EXPECT_EQ(site.Import(), 0);
  EXPECT_EQ(site.Import(), 0);
  EXPECT_EQ(site.Records(), (Names{"page-1.html", "page-2.html", "page-3.html"}));
}

TEST(Import, RecordsInTheOrderOfARecursion) {
  Site site;
  site.Write("index.html", "<a href=a.html>a</a><a href=b.html>b</a><img src=p.png>");
  site.Write("a.html", "<a href=c.html>c</a><a href=b.html>b</a>");
  site.Write("b.html", "<a href=d.html>d</a><a href=e.html>e</a>");
  for (const char* page : {"c.html", "d.html", "e.html"}) site.Write(page, "<a href=index.html>");
  site.Write("p.png", "PNG");
  ASSERT_EQ(site.Import(), 0);
  EXPECT_EQ(site.Records(),
            (Names{"page-1.html", "p.png", "b.html", "e.html", "d.html", "a.html", "c.html"}));
}

TEST(Import, TakesEachFileOnce) {
  Site site;
  site.Write("index.html",
             "<a href=index.html>self</a><a href=./a.html>a</a><a href=copy.html>a</a>"
             "<img src=p.png><img src=sub/../p.png>");
  site.Write("a.html", "<a href=index.html>top</a><img src=p.png>");
  site.Write("p.png", "PNG");
  fs::create_directory(site.dir / "site/sub");
  fs::create_symlink("a.html", site.dir / "site/copy.html");
  ASSERT_EQ(site.Import(), 0);
  EXPECT_EQ(site.LinksOf("page-1.html"),
            (Names{"page-1.html", "copy.html", "copy.html", "p.png", "p.png"}));
  EXPECT_EQ(site.LinksOf("copy.html"), (Names{"page-1.html", "p.png"}));
  EXPECT_EQ(site.Records(), (Names{"page-1.html", "p.png", "copy.html"}));
  EXPECT_NE(site.Content("content.opf").find("id=\"rc_4\" href=\"copy.html\""), std::string::npos)
      << "the repeated picture has taken an identifier";
}

TEST(Import, ChecksExtensionsAsTheyAreWritten) {
  Site site;
  site.Write("index.html", "<a href=a.ml>1</a><a href=b.HTML>2</a><a href=c>3</a><a href=d.>4</a>");
  for (const char* name : {"a.ml", "b.HTML", "c", "d."}) site.Write(name, "<b>x</b>");
  ASSERT_EQ(site.Import(), 0);
  EXPECT_NE(site.Content("a.ml").find("<html"), std::string::npos);
  EXPECT_EQ(site.Content("b.HTML"), "<b>x</b>");
  EXPECT_EQ(site.Content("c"), "<b>x</b>");
  EXPECT_NE(site.Content("d.").find("<html"), std::string::npos);
}

// Nothing from outside the source directory may get into the book.
struct Escape {
  const char* name;
  std::string reference;
  bool isAllowed;
};

class ImportRoot : public testing::TestWithParam<Escape> {};

TEST_P(ImportRoot, IsNotLeft) {
  Site site;
  site.dir.Write("secret.png", "SECRET");
  site.dir.Write("site-2/secret.png", "SECRET");
  site.Write("inside/p.png", "PNG");
  fs::create_symlink(site.dir / "secret.png", site.dir / "site/link.png");
  fs::create_symlink(site.dir.String(), site.dir / "site/up");
  fs::create_symlink("inside/p.png", site.dir / "site/inner.png");
  ASSERT_EQ(mkfifo((site.dir / "site/pipe.png").c_str(), 0600), 0);
  fs::create_symlink("/dev/zero", site.dir / "site/device.png");
  site.Write("index.html", "<p><img src=\"" + GetParam().reference + "\" alt=\"alt\">");
  ASSERT_EQ(site.Import(), 0);
  EXPECT_EQ(site.LinksOf("page-1.html").size(), GetParam().isAllowed ? 1U : 0U);
  EXPECT_EQ(site.Records().size(), GetParam().isAllowed ? 2U : 1U);
  EXPECT_EQ(site.Content("page-1.html").find("alt</span>") == std::string::npos,
            GetParam().isAllowed);
}

INSTANTIATE_TEST_SUITE_P(
    Table, ImportRoot,
    testing::Values(Escape{"Inside", "inside/p.png", true},
                    Escape{"UpAndDown", "inside/../inside/p.png", true},
                    Escape{"LinkInside", "inner.png", true}, Escape{"Up", "../secret.png", false},
                    Escape{"EscapedUp", "..%2Fsecret.png", false},
                    Escape{"FullyEscapedUp", "%2E%2E%2Fsecret.png", false},
                    Escape{"SiblingOfLikeName", "../site-2/secret.png", false},
                    Escape{"LinkOutside", "link.png", false},
                    Escape{"DirectoryLinkOutside", "up/secret.png", false},
                    Escape{"OutAndBack", "up/site/inside/p.png", true},
                    Escape{"FileScheme", "file:///etc/hostname.png", false},
                    Escape{"Absolute", "/etc/p.png", false}, Escape{"Pipe", "pipe.png", false},
                    Escape{"Device", "device.png", false}, Escape{"Directory", "inside", false},
                    Escape{"NulByte", "inside/p.png%00.png", false}),
    [](const auto& row) { return row.param.name; });

TEST(ImportRoot, CanBeWidened) {
  Site site;
  site.dir.Write("shared/p.png", "PNG");
  site.Write("index.html", "<img src=../shared/p.png>");
  site.book.SetImportRoot((site.dir / "shared").c_str());
  ASSERT_EQ(site.Import(), 0);
  site.book.SetImportRoot(nullptr);
  ASSERT_EQ(site.Import(), 0);
  EXPECT_EQ(site.LinksOf("page-1.html"), Names{"p.png"});
  EXPECT_EQ(site.LinksOf("page-2.html"), Names{});
}

// Any file name: the link in the page is the record in the package document, and the file is there.
struct FileName {
  const char* name;
  std::string file;
  std::string reference;
  std::string entry;
};

class ImportedName : public testing::TestWithParam<FileName> {};

TEST_P(ImportedName, IsLinkedAndRecorded) {
  Site site;
  site.Write("dir/" + GetParam().file, "<p>x</p>");
  site.Write("index.html", "<a href=\"dir/" + GetParam().reference + "\">x</a>");
  ASSERT_EQ(site.Import(), 0);
  EXPECT_TRUE(site.Has(GetParam().file));
  EXPECT_EQ(site.LinksOf("page-1.html"), Names{GetParam().entry});
  EXPECT_EQ(site.Records(), (Names{"page-1.html", GetParam().entry}));
}

const std::string kLong(250, 'x');

INSTANTIATE_TEST_SUITE_P(
    Table, ImportedName,
    testing::Values(
        FileName{"Blank", "a b.html", "a%20b.html", "a%20b.html"},
        FileName{"RawBlank", "a b.html", "a b.html", "a%20b.html"},
        FileName{"Percent", "100%.html", "100%25.html", "100%25.html"},
        FileName{"EscapeAsName", "a%20b.html", "a%2520b.html", "a%2520b.html"},
        FileName{"Ampersand", "a&b.html", "a&amp;b.html", "a&amp;b.html"},
        FileName{"Quotes", "a'\"b.html", "a'%22b.html", "a'%22b.html"},
        FileName{"NumberSign", "a#b.html", "a%23b.html", "a%23b.html"},
        FileName{"NonAscii", "caf\xC3\xA9.html", "caf\xC3\xA9.html", "caf\xC3\xA9.html"},
        FileName{"NonAsciiEscaped", "caf\xC3\xA9.html", "caf%C3%A9.html", "caf\xC3\xA9.html"},
        FileName{"LatinBytes", "caf\xE9.html", "caf%E9.html", "caf%E9.html"},
        FileName{"Longest", kLong + ".html", kLong + ".html", kLong + ".html"}),
    [](const auto& row) { return row.param.name; });

TEST(EntryNames, GoToTheFirstHolder) {
  Site site;
  site.Write("index.html", "<a href=a/x.html>a</a><a href=b/x.html>b</a><a href=c/x.html>c</a>");
  for (const std::string folder : {"a", "b", "c"}) {
    site.Write(folder + "/x.html", "<img src=p.png><p>in " + folder);
    site.Write(folder + "/p.png", folder);
  }
  ASSERT_EQ(site.Import(), 0);
  EXPECT_EQ(site.LinksOf("page-1.html"), (Names{"x-3.html", "x-2.html", "x.html"}));
  const char* const expected[][3] = {
      {"x.html", "p.png", "c"}, {"x-2.html", "p-2.png", "b"}, {"x-3.html", "p-3.png", "a"}};
  for (const auto& [page, picture, folder] : expected) {
    EXPECT_EQ(site.LinksOf(page), Names{picture});
    EXPECT_EQ(site.Content(picture), folder);
  }
}

TEST(EntryNames, AreKeptFromTheBooksOwnFiles) {
  Site site;
  const Names own = {"content.opf",  "toc.ncx", "main.css",    "cover.html", "page-1.html",
                     "page-27.html", "images",  "Content.OPF", "a.html",     "A.html"};
  const Names given = {"content-3.opf", "toc-2.ncx",      "main-2.css", "cover-2.html",
                       "page-1-2.html", "page-27-2.html", "images-2",   "Content-2.OPF",
                       "a-2.html",      "A.html"};
  std::string links;
  for (const std::string& name : own) {
    links += "<a href=\"" + name + "\">x</a>";
    site.Write(name, "<p>theirs</p>");
  }
  site.Write("index.html", links);
  const std::string styleSheet = site.Content("main.css");
  ASSERT_EQ(site.Import(), 0);
  EXPECT_EQ(site.LinksOf("page-1.html"), given);
  EXPECT_NE(site.Content("page-1.html").find("href=\"main-2.css\""), std::string::npos);
  EXPECT_EQ(site.Content("main.css"), styleSheet);
  site.Records();
  for (const std::string& name : given) EXPECT_TRUE(site.Has(name)) << name;
}

TEST(EntryNames, HoldForTheBook) {
  Site site;
  site.Write("index.html", "<img src=p.png>");
  site.Write("p.png", "PNG");
  ASSERT_EQ(site.Import(), 0);
  ASSERT_EQ(site.Import(), 0);
  EXPECT_EQ(site.LinksOf("page-2.html"), Names{"p-2.png"});
}

TEST(EntryNames, StayWithinTheLimitOfTheFileSystem) {
  Site site;
  std::string name;
  while (name.size() < 248) name += "\xC3\xA9";
  name += ".html";
  site.Write("index.html", "<a href=\"a/" + name + "\">a</a><a href=\"b/" + name + "\">b</a>");
  site.Write("a/" + name, "a");
  site.Write("b/" + name, "b");
  ASSERT_EQ(site.Import(), 0);
  const Names links = site.LinksOf("page-1.html");
  ASSERT_EQ(links.size(), 2U);
  EXPECT_NE(links[0], links[1]);
  for (const std::string& link : links) EXPECT_TRUE(site.Has(link)) << link;
}

TEST(Import, DropsLinksToPagesThatFail) {
  Site site;
  site.Write("index.html",
             "<p><a href=empty.html id=k>x</a><a href=a.html id=l>y</a>"
             "<a href=#k>k</a><a href=#l>l</a></p>");
  site.Write("a.html", "<p><a href=empty.html>z</a></p>");
  site.Write("empty.html", "");
  ASSERT_EQ(site.Import(), 0);
  EXPECT_EQ(site.LinksOf("page-1.html"), (Names{"a.html", "#l"}));
  EXPECT_NE(site.Content("a.html").find("<span style=\"color:#0000ff;\">z</span>"),
            std::string::npos);
  EXPECT_EQ(site.Records(), (Names{"page-1.html", "a.html"}));
}

TEST(Import, HasCodesForTheTopPage) {
  Site site;
  site.Write("empty.html", "");
  ASSERT_EQ(mkfifo((site.dir / "site/pipe.html").c_str(), 0600), 0);
  EXPECT_EQ(site.Import("none.html"), 404);
  EXPECT_EQ(site.Import("empty.html"), 415);
  EXPECT_EQ(site.Import("pipe.html"), 404);
  EXPECT_EQ(site.book.AddHTHLToEpub(site.dir.String().c_str()), 404);
  EXPECT_EQ(site.book.AddHTHLToEpub(nullptr), 404);
  site.Write("index.html", "<p>x</p>");
  fs::remove(site.dir / "work/epub_temp/xhtml1-strict.dtd");
  EXPECT_EQ(site.Import(), 402);
  EXPECT_EQ(EpubBase().AddHTHLToEpub((site.dir / "site/index.html").c_str()), 409);
}

TEST(Import, IsNotPackedWhenAPageCouldNotBeWritten) {
  Site site;
  site.Write("index.html", "<p>x</p>");
  fs::create_directory(site.PathOf("page-1.html"));
  EXPECT_EQ(site.Import(), 0);
  EXPECT_EQ(site.book.GenerateEpub((site.dir / "book.epub").c_str()), 413);
  EXPECT_FALSE(fs::exists(site.dir / "book.epub"));
}

TEST(Init, BeginsACleanBook) {
  Site site;
  site.Write("index.html", "<img src=p.png>");
  site.Write("p.png", "PNG");
  fs::create_directory(site.PathOf("page-1.html"));
  EXPECT_EQ(site.Import(), 0);
  ASSERT_EQ(site.book.Init((site.dir / "work").c_str(), "Title", "Author"), 0);
  EXPECT_EQ(site.Import(), 0);
  EXPECT_EQ(site.Records(), (Names{"page-2.html", "p.png"}));
}

TEST(Import, FindsTheDtdUnderAnyPath) {
  const TempDir dir;
  for (const std::string name : {"a b", "a%20b", "caf\xC3\xA9", "\xE9&\"'"}) {
    fs::create_directory(dir / name);
    const std::string html = dir.Write(name + "/x.html", "<p align=left>x</p>");
    EpubBase book;
    ASSERT_EQ(book.Init((dir / name).c_str(), "", ""), 0);
    EXPECT_EQ(book.AddHTHLToEpub(html.c_str()), 0);
    EXPECT_NE(ReadFile(dir / (name + "/epub_temp/epub/OEBPS/page-1.html")).find("<p>x</p>"),
              std::string::npos);
  }
}

TEST(Import, FollowsLongChainsWithoutRecursion) {
  Site site;
  constexpr int kPages = 3000;
  for (int i = 0; i < kPages; ++i) {
    const auto name = [](int page) {
      return std::string(page % 2 == 0 ? "even/" : "odd/").append(std::to_string(page)) + ".html";
    };
    site.Write(name(i), "<a href=\"../" + name(i + 1) + "\">next</a>");
  }
  site.book.SetImportRoot((site.dir / "site").c_str());
  ASSERT_EQ(site.Import("even/0.html"), 0);
  EXPECT_EQ(site.Records().size(), static_cast<size_t>(kPages));
}

TEST(Service, ChecksThePathBeforeTheHandle) {
  Site site;
  site.Write("index.html", "<p>x</p>");
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

TEST(Import, RunsOnManyThreads) {
  const TempDir dir;
  std::string body;
  for (int i = 0; i < 300; ++i) {
    const std::string id = std::to_string(i);
    body.append("<p id=i").append(id).append(" align=left><font>x</font><a href=#i").append(id);
    body += ">y</a><map><img></map>";
  }
  const std::string html = dir.Write("x.html", body);
  Names results(4);
  std::vector<std::thread> threads;
  for (std::string& result : results) {
    const std::string root = dir / std::string(threads.size() + 1, 'w');
    fs::create_directory(root);
    threads.emplace_back([root, &html, &result] {
      EpubBase book;
      if (book.Init(root.c_str(), "", "") != 0) return;
      for (int round = 0; round < 5; ++round) {
        if (book.AddHTHLToEpub(html.c_str()) != 0) return;
      }
      result = ReadFile(root + "/epub_temp/epub/OEBPS/page-5.html");
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_NE(results[0].find("<p id=\"i299\"><span>x</span><a href=\"#i299\">y</a>"),
            std::string::npos);
  for (const std::string& result : results) EXPECT_EQ(result, results[0]);
}

}  // namespace
