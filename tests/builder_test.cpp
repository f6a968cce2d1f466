// The book builder: workspace, codes, pictures, and that no incomplete book is ever packed.
#include <gtest/gtest.h>
#include <libxml/uri.h>

#include <regex>

#include "book_script.h"
#include "child_process.h"
#include "xml/xml_base.h"

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

TEST(Builder, LaysOutTheWorkspace) {
  for (const char* end : {"", "/"}) {
    const TempDir dir;
    dir.Write("epub_temp/epub/OEBPS/old.html", "old");
    dir.Write("kept", "");
    EpubBase epub;
    ASSERT_EQ(epub.Init((dir.String() + end).c_str(), "T", "A"), 0);
    std::string files;
    for (const std::string& file : FilesBelow(dir.String())) files += file + " ";
    EXPECT_EQ(files,
              "epub_temp/ epub_temp/epub/ epub_temp/epub/META-INF/ "
              "epub_temp/epub/META-INF/container.xml epub_temp/epub/OEBPS/ "
              "epub_temp/epub/OEBPS/images/ epub_temp/epub/OEBPS/main.css "
              "epub_temp/epub/mimetype epub_temp/xhtml1-strict.dtd kept ");
    EXPECT_EQ(ReadFile(dir / "epub_temp/xhtml1-strict.dtd"), kXhtml1StrictDtd[0]);
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

TEST(Builder, WritesDocumentsByteForByte) {
  for (const auto& row : DataRows("book_documents.txt", 4)) {
    SCOPED_TRACE(row[0]);
    Book book;
    EXPECT_EQ(book.Run(row[1] + "|generate book.epub"), 0);
    const std::regex time("id_[0-9]{14}");
    EXPECT_EQ(std::regex_replace(book.Content(row[2]), time, "id_TIME"), row[3]);
    const std::string first = ReadFile(book.Output());
    EXPECT_EQ(book.Run("generate book.epub"), 0);
    EXPECT_EQ(ReadFile(book.Output()), first) << "packed twice";
  }
}

TEST(Builder, ReportsWhatFails) {
  for (const auto& row : DataRows("book_codes.txt", 2)) {
    EXPECT_EQ(Book().Run(row[1]), std::stoi(row[0])) << row[1];
  }
  EXPECT_EQ(EpubBase().Init("", "", ""), 402);
  Book book;
  EXPECT_EQ(book.epub->GenerateEpub(""), 411);
  EXPECT_FALSE(fs::exists(book.Path("OEBPS/content.opf"))) << "nothing is written without output";
  EXPECT_EQ(book.Run("block OEBPS/content.opf|generate book.epub"), 413);
  EXPECT_FALSE(fs::exists(book.Path("OEBPS/toc.ncx"))) << "the first failure ends the operation";
  EXPECT_EQ(book.epub->Init(book.dir.String().c_str(), nullptr, nullptr), 0);
}

// What an earlier run has left and this one may not delete is in the way of its files.
TEST(Builder, ReportsFilesThatCannotBeMade) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root, to give up its rights";
  for (const auto& [blocked, expected] : {std::pair{"epub_temp"s, 413},
                                          {"epub_temp/xhtml1-strict.dtd", 404},
                                          {"epub_temp/epub/mimetype", 404},
                                          {"epub_temp/epub/OEBPS/main.css", 406},
                                          {"epub_temp/epub/META-INF/container.xml", 413}}) {
    SCOPED_TRACE(blocked);
    const TempDir dir;
    dir.Write(blocked + "/x", "");
    for (fs::path own = blocked; own.has_parent_path();) {
      own = own.parent_path();
      ASSERT_EQ(chown((dir / own.string()).c_str(), kNobody, kNobody), 0);
    }
    EpubBase epub;
    const auto init = [&] { return epub.Init(dir.String().c_str(), "", ""); };
    EXPECT_EQ(AsNobody(dir.String(), init), expected);
    EXPECT_EQ(AsNobody(dir.String(), [&] { return init(), epub.ClearData(); }), -1);
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
  EXPECT_EQ(FilesBelow(book.Path("OEBPS/images")), std::set<std::string>());
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
  for (const auto& row : DataRows("picture_names.txt", 1)) {
    const std::string& name = row[0];
    SCOPED_TRACE(name);
    Book book;
    book.dir.Write("in/" + name, "picture");
    EXPECT_EQ(book.Run("cover in/" + name + "|sheet in/" + name + "|start|picture in/" + name +
                       "|end|generate book.epub"),
              0);
    EXPECT_EQ(book.Content("OEBPS/images/" + name), "picture");
    for (const auto& [file, xpath] : {std::pair{"content.opf", "//*[@id='cover-image']/@href"},
                                      {"content.opf", "//*[@id='rc_1']/@href"},
                                      {"cover.html", "//*[local-name()='image']/@*[3]"},
                                      {"page-1.html", "//*[local-name()='img']/@src"},
                                      {"page-2.html", "//*[local-name()='img']/@src"}}) {
      SCOPED_TRACE(file);
      const std::string reference = XPathTexts(ParseXml(book.Content("OEBPS/"s + file)), xpath)[0];
      EXPECT_EQ(reference.find_first_of(" \"<>#?\\^`{|}\x01\n"), std::string::npos) << reference;
      char* decoded = xmlURIUnescapeString(reference.c_str(), 0, nullptr);
      EXPECT_EQ(TakenXml(reinterpret_cast<xmlChar*>(decoded)), "images/" + name);
    }
  }
}

TEST(Builder, NeverPacksAnIncompleteBook) {
  for (const auto& row : DataRows("incomplete_books.txt", 2)) {
    const rlim_t limit = row[0] == "none" ? RLIM_INFINITY : std::stoul(row[0]);
    for (const bool hasFormer : {false, true}) {
      SCOPED_TRACE(row[1]);
      Book book;
      if (hasFormer) book.dir.Write("book.epub", "former");
      book.dir.Write("a.png", std::string(100'000, 'x'));
      const int code = WithFileLimit(limit, [&] {
        if (book.Run(row[1]) != 0) return -1;
        // Now there is room: only what went wrong before may stop the book.
        const rlimit none = {RLIM_INFINITY, RLIM_INFINITY};
        setrlimit(RLIMIT_FSIZE, &none);
        return book.Run("generate book.epub");
      });
      EXPECT_EQ(code, 413);
      EXPECT_EQ(ReadFile(book.Output()), hasFormer ? "former" : "");
      EXPECT_EQ(fs::exists(book.Output()), hasFormer);
    }
  }
}

}  // namespace
