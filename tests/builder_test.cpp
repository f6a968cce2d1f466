// The book builder: workspace, codes, pictures, and that no incomplete book is ever packed.
#include "builder/epub_base.h"

#include <gtest/gtest.h>
#include <libxml/uri.h>

#include <set>

#include "child_process.h"
#include "temp_dir.h"
#include "xml/xml_base.h"
#include "xml_text.h"

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

constexpr char kBook[] = "epub_temp/epub/";

// A book begun in a directory of its own.
struct Book {
  Book() { EXPECT_EQ(epub.Init(dir.String().c_str(), "T", "A"), 0); }

  std::string Path(const std::string& name) const { return dir / (kBook + name); }
  std::string Content(const std::string& name) const { return ReadFile(Path(name)); }
  std::string Output() const { return dir / "book.epub"; }
  int Generate() { return epub.GenerateEpub(Output().c_str()); }
  void AddPage(const char* line) {
    EXPECT_EQ(epub.StartPage(), 0);
    EXPECT_EQ(epub.AddTextLineToPage(line), 0);
    EXPECT_EQ(epub.EndPage(), 0);
  }
  // Puts a directory where a file of the book is to be.
  void Block(const std::string& name) const { fs::create_directories(Path(name) + "/x"); }

  TempDir dir;
  EpubBase epub;
};

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
  const std::string picture = book.dir.Write("a.png", "png");
  const std::string cover = book.dir.Write("c.gif", "gif");
  book.AddPage("one");
  EXPECT_EQ(book.epub.AddCoverImageToEpub(cover.c_str()), 0);
  EXPECT_EQ(book.epub.AddImageToEpub(picture.c_str()), 0);
  EXPECT_EQ(book.epub.StartPage(), 0);
  EXPECT_EQ(book.epub.AddTextLineToPage("three"), 0);
  EXPECT_EQ(book.epub.AddImageToPage(picture.c_str()), 0);
  EXPECT_EQ(book.epub.EndPage(), 0);
  EXPECT_EQ(book.Generate(), 0);
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
  EXPECT_EQ(book.Generate(), 0);
  EXPECT_EQ(ReadFile(book.Output()), first) << "packed twice";
}

struct CodeCase {
  const char* name;
  int expected;
  std::function<int(Book&)> operation;
};

void ExpectCodes(const std::vector<CodeCase>& cases) {
  for (const CodeCase& row : cases) {
    SCOPED_TRACE(row.name);
    Book book;
    EXPECT_EQ(row.operation(book), row.expected);
  }
}

TEST(Builder, ReportsWhatFails) {
  const auto init = [](Book& b, const char* root) {
    b.dir.Write("file", "");
    return EpubBase().Init(root == nullptr ? nullptr : (b.dir / root).c_str(), "", "");
  };
  ExpectCodes({
      {"missing root", 402, [&](Book& b) { return init(b, "missing"); }},
      {"null root", 402, [&](Book& b) { return init(b, nullptr); }},
      {"empty root", 402, [](Book&) { return EpubBase().Init("", "", ""); }},
      {"root is a file", 413, [&](Book& b) { return init(b, "file"); }},
      {"null texts", 0,
       [](Book& b) { return EpubBase().Init(b.dir.String().c_str(), nullptr, nullptr); }},
      {"mimetype", 404,
       [](Book& b) {
         fs::remove(b.Path("mimetype"));
         b.Block("mimetype");
         return b.epub.GenerateMimetypeFile();
       }},
      {"style sheet", 406,
       [](Book& b) {
         fs::remove(b.Path("OEBPS/main.css"));
         b.Block("OEBPS/main.css");
         return b.epub.GenerateCSSFile();
       }},
      {"null line", 407, [](Book& b) { return b.epub.AddTextLineToPage(nullptr); }},
      {"empty line", 407, [](Book& b) { return b.epub.AddTextLineToPage(""); }},
      {"a paragraph without page", 408, [](Book& b) { return b.epub.AddTextLineToPage(" x"); }},
      {"the counters have seen it", 0,
       [](Book& b) {
         b.epub.AddTextLineToPage(" x");
         return b.epub.AddTextLineToPage(" x");
       }},
      {"a continuation without page", 0, [](Book& b) { return b.epub.AddTextLineToPage("x"); }},
      {"no page to end", 409, [](Book& b) { return b.epub.EndPage(); }},
      {"page ended twice", 409, [](Book& b) { return b.AddPage("x"), b.epub.EndPage(); }},
      {"page before Init", 409,
       [](Book&) {
         EpubBase fresh;
         return fresh.StartPage(), fresh.EndPage();
       }},
      {"no output", 411, [](Book& b) { return b.epub.GenerateEpub(""); }},
      {"null output", 411, [](Book& b) { return b.epub.GenerateEpub(nullptr); }},
      {"nothing written without output", 0,
       [](Book& b) {
         b.epub.GenerateEpub("");
         return fs::exists(b.Path("OEBPS/content.opf")) || fs::exists(b.Path("OEBPS/toc.ncx")) ? 1
                                                                                               : 0;
       }},
      {"output before Init", 409,
       [](Book& b) { return EpubBase().GenerateEpub(b.Output().c_str()); }},
      {"package document", 413, [](Book& b) { return b.Block("OEBPS/content.opf"), b.Generate(); }},
      {"package document before navigation", 0,
       [](Book& b) {
         b.Block("OEBPS/content.opf");
         b.Generate();
         return fs::exists(b.Path("OEBPS/toc.ncx")) ? 1 : 0;
       }},
      {"navigation document", 413, [](Book& b) { return b.Block("OEBPS/toc.ncx"), b.Generate(); }},
      {"output directory missing", 504,
       [](Book& b) { return b.epub.GenerateEpub((b.dir / "no/x").c_str()); }},
      {"output is a directory", 504,
       [](Book& b) { return b.epub.GenerateEpub(b.dir.String().c_str()); }},
      {"clear before Init", -1, [](Book&) { return EpubBase().ClearData(); }},
      {"clear twice", -1, [](Book& b) { return b.epub.ClearData(), b.epub.ClearData(); }},
      {"released", 409, [](Book& b) { return b.epub.Destory(), b.epub.Destory(), b.Generate(); }},
      {"null rules", 0, [](Book& b) { return b.epub.AppendPropToCSS(nullptr); }},
  });
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

TEST(Builder, ReportsWhatFailsOfPictures) {
  const auto picture = [](Book& b, const char* name) { return b.dir.Write(name, "x"); };
  ExpectCodes({
      {"no cover", 402,
       [](Book& b) { return b.epub.AddCoverImageToEpub((b.dir / "no.png").c_str()); }},
      {"no picture page", 402,
       [](Book& b) { return b.epub.AddImageToEpub((b.dir / "no.png").c_str()); }},
      {"no picture", 402,
       [](Book& b) { return b.epub.AddImageToPage((b.dir / "no.wmf").c_str()); }},
      {"directory", 402, [](Book& b) { return b.epub.AddImageToEpub(b.dir.String().c_str()); }},
      {"null", 402, [](Book& b) { return b.epub.AddImageToEpub(nullptr); }},
      {"no page", 409, [&](Book& b) { return b.epub.AddImageToPage(picture(b, "a.png").c_str()); }},
      {"no page, metafile", 409,
       [&](Book& b) { return b.epub.AddImageToPage(picture(b, "a.wmf").c_str()); }},
      {"no image directory", 412,
       [&](Book& b) {
         fs::remove(b.Path("OEBPS/images"));
         return b.epub.AddImageToEpub(picture(b, "a.png").c_str());
       }},
      {"before Init", 409,
       [&](Book& b) { return EpubBase().AddImageToEpub(picture(b, "a.png").c_str()); }},
      {"cover before Init", 409,
       [&](Book& b) { return EpubBase().AddCoverImageToEpub(picture(b, "a.png").c_str()); }},
      {"unreadable", 404,
       [&](Book& b) {
         const std::string path = picture(b, "a.png");
         chmod(path.c_str(), 0600);
         EXPECT_EQ(chown(b.Path("OEBPS/images").c_str(), kNobody, kNobody), 0);
         const int code =
             AsNobody(b.dir.String(), [&] { return b.epub.AddImageToEpub(path.c_str()); });
         return code == kNotPermitted ? 404 : code;
       }},
  });
  // Pictures that are skipped.
  for (const char* name : {"a.JPG", "a.bmp", "a.jpg.", "my.dir/cover", "a.webp"}) {
    Book book;
    EXPECT_EQ(book.epub.AddCoverImageToEpub(picture(book, name).c_str()), 0) << name;
    EXPECT_EQ(FilesBelow(book.Path("OEBPS")), (std::set<std::string>{"images/", "main.css"}))
        << name;
  }
  Book book;
  ASSERT_EQ(book.epub.StartPage(), 0);
  ASSERT_EQ(book.epub.AddTextLineToPage("one "), 0);
  EXPECT_EQ(book.epub.AddImageToPage(picture(book, "a.wmf").c_str()), 0);
  EXPECT_EQ(book.epub.AddTextLineToPage("two"), 0);
  EXPECT_EQ(book.epub.EndPage(), 0);
  EXPECT_EQ(TextsOf(book.Content("OEBPS/page-1.html"), "p"), std::vector<std::string>{"one two"});
  EXPECT_FALSE(fs::exists(book.Path("OEBPS/images/a.wmf")));

  fs::current_path(book.dir.String());
  picture(book, "nodot");
  EXPECT_THROW(book.epub.AddCoverImageToEpub("nodot"), std::out_of_range);
  picture(book, "C:\\pics\\b.png");
  EXPECT_EQ(book.epub.AddImageToEpub("C:\\pics\\b.png"), 0);
  EXPECT_TRUE(fs::exists(book.Path("OEBPS/images/b.png")));
  fs::current_path("/");
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
    EXPECT_EQ(book.epub.AddCoverImageToEpub(path.c_str()), 0);
    EXPECT_EQ(book.epub.AddImageToEpub(path.c_str()), 0);
    EXPECT_EQ(book.epub.StartPage(), 0);
    EXPECT_EQ(book.epub.AddImageToPage(path.c_str()), 0);
    EXPECT_EQ(book.epub.EndPage(), 0);
    EXPECT_EQ(book.Generate(), 0);
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

TEST(Builder, NeverPacksAnIncompleteBook) {
  const auto picturePage = [](Book& b) { return b.epub.AddImageToEpub((b.dir / "a.png").c_str()); };
  const struct {
    const char* name;
    rlim_t fileLimit;
    std::function<int(Book&)> operation;
  } cases[] = {
      {"page", RLIM_INFINITY,
       [](Book& b) {
         b.Block("OEBPS/page-2.html");
         b.AddPage("one");
         b.AddPage("two");
         return 0;
       }},
      {"page that ends inside a character", RLIM_INFINITY,
       [](Book& b) {
         b.Block("OEBPS/page-1.html");
         b.AddPage("one\xE6");
         fs::remove_all(b.Path("OEBPS/page-1.html"));
         return 0;
       }},
      {"picture page", RLIM_INFINITY,
       [&](Book& b) {
         b.Block("OEBPS/page-1.html");
         return picturePage(b);
       }},
      {"cover page", RLIM_INFINITY,
       [](Book& b) {
         b.Block("OEBPS/cover.html");
         return b.epub.AddCoverImageToEpub((b.dir / "a.png").c_str());
       }},
      {"style rules", RLIM_INFINITY,
       [](Book& b) {
         fs::remove(b.Path("OEBPS/main.css"));
         b.Block("OEBPS/main.css");
         return b.epub.AppendPropToCSS("x");
       }},
      {"short page", 2000, [](Book& b) { return b.AddPage(std::string(4000, 'x').c_str()), 0; }},
      {"short picture", 50'000, picturePage},
      {"short picture on a page", 50'000,
       [](Book& b) {
         b.epub.StartPage();
         const std::string path = b.dir / "a.png";
         return b.epub.AddImageToPage(path.c_str()) + b.epub.EndPage();
       }},
      {"short mimetype", 10, [](Book& b) { return b.epub.GenerateMimetypeFile(); }},
      {"short style sheet", 100, [](Book& b) { return b.epub.GenerateCSSFile(); }},
      {"short DTD", 5000, [](Book& b) { return b.epub.Init(b.dir.String().c_str(), "", ""); }},
  };
  for (const auto& row : cases) {
    for (const bool hasFormer : {false, true}) {
      SCOPED_TRACE(row.name);
      Book book;
      if (hasFormer) book.dir.Write("book.epub", "former");
      book.dir.Write("a.png", std::string(100'000, 'x'));
      const auto run = [&] {
        const int code = row.operation(book);
        // From here on there is room: only what went wrong before may stop the book.
        const rlimit none = {RLIM_INFINITY, RLIM_INFINITY};
        EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &none), 0);
        return code == 0 ? book.Generate() : code;
      };
      EXPECT_EQ(row.fileLimit == RLIM_INFINITY ? run() : WithFileLimit(row.fileLimit, run), 413);
      EXPECT_EQ(ReadFile(book.Output()), hasFormer ? "former" : "");
      EXPECT_EQ(fs::exists(book.Output()), hasFormer);
    }
  }
}

TEST(Builder, PicturesDoNotTearCharacters) {
  Book book;
  const std::string picture = book.dir.Write("a.png", "x");
  const auto add = [&](const char* line) { EXPECT_EQ(book.epub.AddTextLineToPage(line), 0); };
  const auto addPicture = [&] { EXPECT_EQ(book.epub.AddImageToPage(picture.c_str()), 0); };
  const auto turnPage = [&] {
    EXPECT_EQ(book.epub.EndPage(), 0);
    EXPECT_EQ(book.epub.StartPage(), 0);
  };
  ASSERT_EQ(book.epub.StartPage(), 0);
  add("aaaaaaaa\xE6\xBC");
  addPicture();
  add("\xA2"
      "b\xF0\x9F");
  addPicture();
  turnPage();
  add("\x98\x80"
      "c\xE6");
  EXPECT_EQ(book.epub.EndPage(), 0);
  EXPECT_EQ(book.epub.AddImageToEpub(picture.c_str()), 0);
  EXPECT_EQ(book.epub.StartPage(), 0);
  addPicture();
  addPicture();
  add("\xBC\xA2"
      "d\xC3");
  addPicture();
  EXPECT_EQ(book.epub.EndPage(), 0);
  EXPECT_EQ(book.Generate(), 0);
  const std::pair<const char*, std::vector<std::string>> pages[] = {
      {"page-1.html", {"aaaaaaaa", "", "漢b", ""}},
      {"page-2.html", {"😀c"}},
      {"page-4.html", {"", "", "漢d", "\uFFFD"}}};
  for (const auto& [name, texts] : pages) {
    EXPECT_EQ(TextsOf(book.Content("OEBPS/"s + name), "p"), texts) << name;
  }
}

}  // namespace
