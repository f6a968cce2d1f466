// The book builder: workspace, codes, pictures, and that no incomplete book is ever packed.
#include <gtest/gtest.h>
#include <libxml/uri.h>

#include <set>

#include "book_script.h"
#include "child_process.h"
#include "xml/xml_base.h"

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

std::set<std::string> FilesBelow(const std::string& directory) {
  std::set<std::string> files;
  for (const auto& entry : fs::recursive_directory_iterator(directory)) {
    const std::string path = fs::relative(entry.path(), directory).string();
    files.insert(entry.is_directory() ? path + "/" : path);
  }
  return files;
}

TEST(Builder, LaysOutTheWorkspace) {
  for (const char* end : {"", "/"}) {
    const TempDir dir;
    dir.Write("epub_temp/epub/OEBPS/old.html", "old");
    dir.Write("kept", "");
    EpubBase epub;
    ASSERT_EQ(epub.Init((dir.String() + end).c_str(), "T", "A"), 0);
    const std::set<std::string> expected = {"epub_temp/",
                                            "epub_temp/epub/",
                                            "epub_temp/epub/META-INF/",
                                            "epub_temp/epub/META-INF/container.xml",
                                            "epub_temp/epub/OEBPS/",
                                            "epub_temp/epub/OEBPS/images/",
                                            "epub_temp/epub/OEBPS/main.css",
                                            "epub_temp/epub/mimetype",
                                            "epub_temp/xhtml1-strict.dtd",
                                            "kept"};
    EXPECT_EQ(FilesBelow(dir.String()), expected);
    EXPECT_EQ(ReadFile(dir / "epub_temp/epub/mimetype"), "application/epub+zip");
    EXPECT_EQ(ReadFile(dir / "epub_temp/xhtml1-strict.dtd"), kXhtml1StrictDtd[0]);
    EXPECT_EQ(ReadFile(dir / "epub_temp/epub/OEBPS/main.css"),
              "body {\n display: block;\n font-size: 1em;\n margin-bottom: 0;\nmargin-left: 5pt;\n"
              "margin-right: 5pt;\nmargin-top: 0;\npadding-left: 0;\npadding-right: 0\n}\n"
              "p.text {\ndisplay: block;\ntext-indent: 1em;\nmargin-bottom:1em;\nmargin-left: 0;\n"
              "margin-right: 0;\nmargin-top: 1em;\n}\ndiv.div1 {\nwidth: 100%\n}\n"
              "img.img1 {\nwidth: 100%\n}\n");
    EXPECT_EQ(epub.ClearData(), 0);
    EXPECT_EQ(FilesBelow(dir.String()), std::set<std::string>{"kept"});
  }
  EXPECT_STREQ(kCssRes[22], "###");
}

TEST(Builder, CarriesThePublishedDtd) {
  const std::string dtd = kXhtml1StrictDtd[0];
  EXPECT_EQ(kXhtml1StrictDtd[1], nullptr);
  const TempDir dir;
  FILE* hash = popen(("sha256sum < " + dir.Write("dtd", dtd)).c_str(), "r");
  char digits[65] = "";
  ASSERT_NE(fgets(digits, sizeof digits, hash), nullptr);
  pclose(hash);
  EXPECT_STREQ(digits, "d710abd83d447674dfb07a6d8dde7d72d733aa9de812c57a58d6b44de9d9959b");
  EXPECT_EQ(dtd.size(), 13780U);
}

TEST(Builder, NumbersAllPagesInOneSequence) {
  Book book;
  EXPECT_EQ(book.Run("write a.png|write c.gif|start|line one|end|cover c.gif|sheet a.png|start|"
                     "line three|picture a.png|end|generate book.epub"),
            0);
  const std::string opf = book.Content("OEBPS/content.opf");
  EXPECT_EQ(opf.substr(opf.find("<item id=\"rc_0")),
            "<item id=\"rc_0\" href=\"main.css\" media-type=\"text/css\"/>"
            "<item id=\"rc_1\" href=\"page-1.html\" media-type=\"application/xhtml+xml\"/>"
            "<item id=\"cover-image\" href=\"images/c.gif\" media-type=\"image/jpeg\"/>"
            "<item id=\"title\" href=\"cover.html\" media-type=\"application/xhtml+xml\"/>"
            "<item id=\"rc_2\" href=\"images/a.png\" media-type=\"image/png\"/>"
            "<item id=\"rc_3\" href=\"page-2.html\" media-type=\"application/xhtml+xml\"/>"
            "<item id=\"rc_5\" href=\"page-3.html\" media-type=\"application/xhtml+xml\"/>"
            "</manifest><spine toc=\"ncx\"><itemref idref=\"rc_1\"/><itemref idref=\"title\"/>"
            "<itemref idref=\"rc_3\"/><itemref idref=\"rc_5\"/></spine><guide><reference "
            "href=\"cover.html\" type=\"cover\" title=\"Cover\"/></guide></package>\n");
  EXPECT_EQ(TextsOf(book.Content("OEBPS/toc.ncx"), "text"),
            (std::vector<std::string>{"T", "1", "2", "3"}));
  for (const auto& [page, title] : {std::pair{"page-2.html", "2"}, {"cover.html", "cover"}}) {
    EXPECT_EQ(TextsOf(book.Content("OEBPS/"s + page), "title"), std::vector<std::string>{title});
  }
  const std::string page = book.Content("OEBPS/page-3.html");
  EXPECT_EQ(
      page.substr(page.find("<body>")),
      "<body><p class=\"text\">three</p><div class=\"div1\"><img src=\"images/a.png\" alt=\"\" "
      "class=\"img1\"/></div><p class=\"text\"/></body></html>\n");
  const std::string first = ReadFile(book.Output());
  EXPECT_EQ(book.Run("generate book.epub"), 0);
  EXPECT_EQ(ReadFile(book.Output()), first) << "packed twice";
}

struct CodeCase {
  const char* script;  // see book_script.h; its last operation gives the code
  int expected;
};

constexpr CodeCase kCodeCases[] = {
    {"begin missing", 402},
    {"write file|begin file", 413},
    {"block mimetype|mimetype", 404},
    {"block OEBPS/main.css|css", 406},
    {"line ", 407},
    {"line  x", 408},
    {"line  x|line  x", 0},  // the counters have seen the first one
    {"line x", 0},           // a continuation needs no page
    {"cell x", -1},
    {"start|end|cell x", -1},
    {"end", 409},
    {"start|end|end", 409},
    {"fresh|start|end", 409},
    {"block OEBPS/content.opf|generate book.epub", 413},
    {"block OEBPS/toc.ncx|generate book.epub", 413},
    {"fresh|generate book.epub", 409},
    {"generate no/book.epub", 504},
    {"generate .", 504},
    {"fresh|clear", -1},
    {"clear|clear", -1},
    {"release|release|generate book.epub", 409},
    {"cover no.png", 402},
    {"sheet no.png", 402},
    {"sheet .", 402},
    {"picture no.wmf", 402},
    {"write a.png|picture a.png", 409},
    {"write a.wmf|picture a.wmf", 409},
    {"write a.png|block OEBPS/images|unblock OEBPS/images|sheet a.png", 412},
    {"write a.png|fresh|sheet a.png", 409},
    {"write a.png|fresh|cover a.png", 409},
};

TEST(Builder, ReportsWhatFails) {
  for (const CodeCase& row : kCodeCases) {
    EXPECT_EQ(Book().Run(row.script), row.expected) << row.script;
  }
  Book book;
  const std::string root = book.dir.String();
  const std::pair<int, int> nullsAndEmpties[] = {
      {EpubBase().Init(nullptr, "", ""), 402},      {EpubBase().Init("", "", ""), 402},
      {book.epub->AddTextLineToPage(nullptr), 407}, {book.epub->AddImageToEpub(nullptr), 402},
      {book.epub->AddImageToPage(nullptr), 402},    {book.epub->AddCoverImageToEpub(nullptr), 402},
      {book.epub->GenerateEpub(nullptr), 411},      {book.epub->GenerateEpub(""), 411},
      {book.epub->AppendPropToCSS(nullptr), 0}};
  for (const auto& [code, expected] : nullsAndEmpties) EXPECT_EQ(code, expected);
  EXPECT_FALSE(fs::exists(book.Path("OEBPS/content.opf"))) << "nothing is written without output";
  EXPECT_EQ(book.Run("block OEBPS/content.opf|generate book.epub"), 413);
  EXPECT_FALSE(fs::exists(book.Path("OEBPS/toc.ncx"))) << "the first failure ends the operation";
  EXPECT_EQ(book.epub->Init(root.c_str(), nullptr, nullptr), 0);
}

// What an earlier run has left and this one may not delete is in the way of its files.
TEST(Builder, ReportsFilesThatCannotBeMade) {
  const struct {
    const char* blocked;
    int expected;
  } cases[] = {{"epub_temp", 413},
               {"epub_temp/xhtml1-strict.dtd", 404},
               {"epub_temp/epub/mimetype", 404},
               {"epub_temp/epub/OEBPS/main.css", 406},
               {"epub_temp/epub/META-INF/container.xml", 413}};
  if (geteuid() != 0) GTEST_SKIP() << "needs root, to give up its rights";
  for (const auto& row : cases) {
    SCOPED_TRACE(row.blocked);
    const TempDir dir;
    dir.Write(row.blocked + "/x"s, "");
    for (fs::path own = row.blocked; own.has_parent_path();) {
      own = own.parent_path();
      ASSERT_EQ(chown((dir / own.string()).c_str(), kNobody, kNobody), 0);
    }
    EXPECT_EQ(AsNobody(dir.String(), [&] { return EpubBase().Init(dir.String().c_str(), "", ""); }),
              row.expected);
    EXPECT_EQ(AsNobody(dir.String(),
                       [&] {
                         EpubBase epub;
                         epub.Init(dir.String().c_str(), "", "");
                         return epub.ClearData();
                       }),
              -1);
  }
}

TEST(Builder, SkipsWhatNoReaderShows) {
  for (const char* name : {"a.JPG", "a.bmp", "a.jpg.", "my.dir/cover", "a.webp"}) {
    Book book;
    EXPECT_EQ(book.Run("write "s + name + "|cover " + name), 0) << name;
    EXPECT_EQ(FilesBelow(book.Path("OEBPS")), (std::set<std::string>{"images/", "main.css"}));
  }
  Book book;
  EXPECT_EQ(book.Run("write a.wmf|start|line one |picture a.wmf|line two|end"), 0);
  EXPECT_EQ(book.Paragraphs(1), std::vector<std::string>{"one two"});
  EXPECT_FALSE(fs::exists(book.Path("OEBPS/images/a.wmf")));
}

TEST(Builder, TakesPicturesByTheirBaseNames) {
  Book book;
  fs::current_path(book.dir.String());
  EXPECT_EQ(book.Run("write nodot|write C:\\pics\\b.png"), 0);
  EXPECT_THROW(book.epub->AddCoverImageToEpub("nodot"), std::out_of_range);
  EXPECT_EQ(book.epub->AddImageToEpub("C:\\pics\\b.png"), 0);
  EXPECT_TRUE(fs::exists(book.Path("OEBPS/images/b.png")));
  fs::current_path("/");

  const std::string path = book.dir.Write("unreadable.png", "x");
  chmod(path.c_str(), 0600);
  chmod(book.dir.String().c_str(), 0755);
  const int code =
      AsNobody(book.Path("OEBPS/images"), [&] { return book.Run("sheet unreadable.png"); });
  EXPECT_TRUE(code == 404 || code == kNotPermitted) << code;
}

// All links to a picture name the file that is there.
TEST(Builder, AnyPictureNameWorks) {
  const std::string names[] = {"a.jpg",
                               "a b.png",
                               "50%25.gif",
                               "%.jpeg",
                               "a&b&amp;.png",
                               "'\"<>#?.gif",
                               "é漢😀.jpg",
                               "bad\xFF\xC3.png",
                               "no\u0085\uFFFEtext.png",
                               "back\\slash.png",
                               "con\x01\x7Ftrol\n.jpg",
                               "semi;colon:x.png",
                               std::string(251, 'x') + ".png",
                               std::string(251, '%') + ".gif",
                               std::string(84, ' ') + "漢漢.png"};
  for (const std::string& name : names) {
    SCOPED_TRACE(name);
    Book book;
    const std::string path = book.dir.Write("in/" + name, "picture");
    EXPECT_EQ(book.epub->AddCoverImageToEpub(path.c_str()), 0);
    EXPECT_EQ(book.epub->AddImageToEpub(path.c_str()), 0);
    EXPECT_EQ(book.epub->StartPage(), 0);
    EXPECT_EQ(book.epub->AddImageToPage(path.c_str()), 0);
    EXPECT_EQ(book.Run("end|generate book.epub"), 0);
    EXPECT_EQ(book.Content("OEBPS/images/" + name), "picture");
    for (const auto& [file, xpath] : {std::pair{"content.opf", "//*[@id='cover-image']/@href"},
                                      {"content.opf", "//*[@id='rc_1']/@href"},
                                      {"cover.html", "//*[local-name()='image']/@*[3]"},
                                      {"page-1.html", "//*[local-name()='img']/@src"},
                                      {"page-2.html", "//*[local-name()='img']/@src"}}) {
      SCOPED_TRACE(file);
      const XmlDoc doc = ParseXml(book.Content("OEBPS/"s + file));
      ASSERT_NE(doc, nullptr);
      xmlXPathObject* found =
          XMLBase::GetNodeSet(doc.get(), reinterpret_cast<const xmlChar*>(xpath));
      ASSERT_NE(found, nullptr);
      xmlChar* value = xmlNodeGetContent(found->nodesetval->nodeTab[0]);
      const std::string reference = reinterpret_cast<char*>(value);
      char* decoded = xmlURIUnescapeString(reference.c_str(), 0, nullptr);
      EXPECT_EQ(decoded, "images/" + name);
      EXPECT_EQ(reference.find_first_of(" \"<>#?\\^`{|}\x01\n"), std::string::npos) << reference;
      xmlFree(decoded);
      xmlFree(value);
      xmlXPathFreeObject(found);
    }
  }
}

struct IncompleteCase {
  const char* script;
  rlim_t fileLimit = RLIM_INFINITY;  // until the script has run
};

constexpr IncompleteCase kIncompleteCases[] = {
    {"block OEBPS/page-2.html|start|end|start|end"},
    {"block OEBPS/page-1.html|start|line one\xE6|end|unblock OEBPS/page-1.html"},
    {"block OEBPS/page-1.html|sheet a.png"},
    {"block OEBPS/cover.html|cover a.png"},
    {"block OEBPS/main.css|rules x"},
    {"start|line one\n|end", 300},
    {"sheet a.png", 50'000},
    {"cover a.png", 50'000},
    {"start|picture a.png|end", 50'000},
    {"mimetype", 10},
    {"css", 100},
    {"begin .", 5000},  // the copy of the DTD
};

TEST(Builder, NeverPacksAnIncompleteBook) {
  for (const IncompleteCase& row : kIncompleteCases) {
    for (const bool hasFormer : {false, true}) {
      SCOPED_TRACE(row.script);
      Book book;
      if (hasFormer) book.dir.Write("book.epub", "former");
      book.dir.Write("a.png", std::string(100'000, 'x'));
      EXPECT_EQ(WithFileLimit(row.fileLimit,
                              [&] {
                                if (book.Run(row.script) != 0) return -1;
                                // Now there is room: only what went wrong before may stop the book.
                                const rlimit none = {RLIM_INFINITY, RLIM_INFINITY};
                                setrlimit(RLIMIT_FSIZE, &none);
                                return book.Run("generate book.epub");
                              }),
                413);
      EXPECT_EQ(ReadFile(book.Output()), hasFormer ? "former" : "");
      EXPECT_EQ(fs::exists(book.Output()), hasFormer);
    }
  }
}

TEST(Builder, PicturesDoNotTearCharacters) {
  Book book;
  EXPECT_EQ(book.Run("write a.png|start|line aaaaaaaa\xE6\xBC|picture a.png|line \xA2"
                     "b\xF0\x9F|"
                     "picture a.png|end|start|line \x98\x80"
                     "c\xE6|end|sheet a.png|start|"
                     "picture a.png|picture a.png|line \xBC\xA2"
                     "d\xC3|picture a.png|end|"
                     "generate book.epub"),
            0);
  EXPECT_EQ(book.Paragraphs(1), (std::vector<std::string>{"aaaaaaaa", "", "漢b", ""}));
  EXPECT_EQ(book.Paragraphs(2), std::vector<std::string>{"😀c"});
  EXPECT_EQ(book.Paragraphs(4), (std::vector<std::string>{"", "", "漢d", "\uFFFD"}));
}

}  // namespace
