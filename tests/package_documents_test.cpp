// The documents of a book, byte for byte: container, package, navigation and page documents.
#include <gtest/gtest.h>

#include <functional>
#include <regex>

#include "package/xml_file.h"
#include "temp_dir.h"

namespace {

// What every document of a kind has, and the sign for it in the rows below. "T" is the time.
const std::pair<std::regex, const char*> kSigns[] = {
    {std::regex("urn:uuid:id_[0-9]{14}"), "T"},
    {std::regex(R"re(<\?xml version="1\.0" encoding="UTF-8"\?>\n)re"), "XML "},
    {std::regex(R"re(<!DOCTYPE html PUBLIC "-//W3C//DTD XHTML 1\.1//EN" )re"
                R"re("http://www\.w3\.org/TR/xhtml11/DTD/xhtml11\.dtd">\n)re"),
     "DTD "},
    {std::regex(
         R"re(<package xmlns="http://www\.idpf\.org/2007/opf" )re"
         R"re(xmlns:dc="http://purl\.org/dc/elements/1\.1/" unique-identifier="bookid111" )re"
         R"re(version="2\.0"><metadata>)re"),
     "OPF "},
    {std::regex("<dc:language>en</dc:language><dc:identifier id=\"bookid111\">T</dc:identifier>"),
     " ID"},
    {std::regex("</metadata><manifest><item id=\"ncx\" href=\"toc\\.ncx\" "
                "media-type=\"application/x-dtbncx\\+xml\"/>"),
     " ITEMS "},
    {std::regex(R"re(<item id="([^"]*)" href="([^"]*)" media-type="([^"]*)"/>)re"), "[$1 $2 $3]"},
    {std::regex("</manifest><spine toc=\"ncx\""), " SPINE"},
    {std::regex("<itemref idref=\"([^\"]*)\"/>"), "[$1]"},
    {std::regex(R"re(<ncx xmlns="http://www\.daisy\.org/z3986/2005/ncx/" version="2005-1"><head>)re"
                R"re(<meta name="dtb:uid" content="T"/><meta name="dtb:depth" content="2"/>)re"
                R"re(<meta name="dtb:totalPageCount" content="0"/>)re"
                R"re(<meta name="dtb:maxPageNumber" content="0"/></head><docTitle>)re"),
     "NCX "},
    {std::regex(
         R"re(<navPoint id="c([0-9]+)" playOrder="\1"><navLabel><text>\1</text></navLabel>)re"
         R"re(<content src="([^"]*)"/></navPoint>)re"),
     "[$1 $2]"},
    {std::regex(R"re(<html xmlns="http://www\.w3\.org/1999/xhtml"><head>)re"), "HTML "},
    {std::regex("<meta name=\"Adept\\.resource\"/>"
                R"re(<link rel="stylesheet" type="text/css" href="main\.css"/></head>)re"),
     " BODY "},
    {std::regex(R"re(<table border="1" cellpadding="0" cellspacing="0">)re"), "<table>"},
};

std::string Href(size_t bytes) {
  return std::string(bytes - 5, 'x') + ".html";
}

struct DocumentCase {
  const char* name;
  std::function<std::uint32_t(XMLFile&, const char*)> write;  // to the path
  std::string expected;
};

void ExpectDocuments(const std::vector<DocumentCase>& cases) {
  const TempDir dir;
  const std::string path = dir / "document";
  for (const DocumentCase& row : cases) {
    SCOPED_TRACE(row.name);
    XMLFile file;
    EXPECT_EQ(row.write(file, path.c_str()), 0U);
    std::string saved = ReadFile(path);
    for (const auto& [text, sign] : kSigns) saved = std::regex_replace(saved, text, sign);
    EXPECT_EQ(saved, row.expected + "\n");
  }
}

TEST(PackageDocuments, Container) {
  const auto write = [](XMLFile& file, const char* path) {
    return file.GenerateContainerFile(path);
  };
  ExpectDocuments({{"container", write,
                    "XML DTD <container version=\"1.0\" "
                    "xmlns=\"urn:oasis:names:tc:opendocument:xmlns:container\"><rootfiles>"
                    "<rootfile full-path=\"OEBPS/content.opf\" "
                    "media-type=\"application/oebps-package+xml\"/></rootfiles></container>"}});
}

// A package document with these records, saved.
auto Opf(const char* title, const char* author, const std::vector<std::string>& records) {
  return [=](XMLFile& file, const char* path) {
    file.InitOpfFile(title, author);
    for (const std::string& record : records) {
      EXPECT_EQ(record == "(cover)" ? file.AddCoverToOpf("cover.html", "images/cover.jpg")
                                    : file.AddRecordToOpf(record.c_str()),
                0U);
    }
    return file.SaveOpfFile(path);
  };
}

TEST(PackageDocuments, Package) {
  const std::string empty = "XML OPF <dc:title/><dc:creator/> ID";
  const std::string items = empty + " ITEMS ";
  const std::string noPages = " SPINE/><guide/></package>";
  const std::string coverMeta = "<meta name=\"cover\" content=\"cover-image\"/> ITEMS ";
  const std::string cover =
      "[cover-image images/cover.jpg image/jpeg][title cover.html application/xhtml+xml]";
  const std::string guide =
      "</spine><guide><reference href=\"cover.html\" type=\"cover\" title=\"Cover\"/></guide>"
      "</package>";
  ExpectDocuments({
      {"a book with a cover",
       Opf("Tom & Jerry", "Anon",
           {"main.css", "(cover)", "page-1.html", "page-2.html", "page-1.html", "a.gif"}),
       "XML OPF <dc:title>Tom &amp; Jerry</dc:title><dc:creator>Anon</dc:creator> ID" + coverMeta +
           "[rc_0 main.css text/css]" + cover +
           "[rc_1 page-1.html application/xhtml+xml][rc_2 page-2.html application/xhtml+xml]"
           "[rc_4 a.gif image/gif] SPINE>[title][rc_1][rc_2]" +
           guide},
      {"empty", Opf("", "", {}), items + noPages},
      {"null texts", Opf(nullptr, nullptr, {}), items + noPages},
      {"ampersands", Opf("A&B&C&&", "&amp;", {}),
       "XML OPF <dc:title>A&amp;B&amp;C&amp;&amp;</dc:title><dc:creator>&amp;amp;</dc:creator> ID"
       " ITEMS " +
           noPages},
      {"markup and bad bytes", Opf("<b>", "\x01\xFF", {}),
       "XML OPF <dc:title>&lt;b&gt;</dc:title><dc:creator>\uFFFD</dc:creator> ID ITEMS " + noPages},
      {"duplicates leave gaps", Opf("", "", {"a.css", "a.css", "b.css", "a.css", "c.css"}),
       items + "[rc_0 a.css text/css][rc_2 b.css text/css][rc_4 c.css text/css]" + noPages},
      {"no extension: a gap, and remembered", Opf("", "", {"notes", "notes", "x.css"}),
       items + "[rc_2 x.css text/css]" + noPages},
      {"the cover's files are not remembered", Opf("", "", {"(cover)", "cover.html"}),
       empty + coverMeta + cover + "[rc_0 cover.html application/xhtml+xml] SPINE>[title][rc_0]" +
           guide},
      {"media types",
       Opf("", "", {"a.html", "a.jpg", "a.png", "a.jpeg", "a.htm", "a.JPG", "a.b.gif", "a."}),
       items + "[rc_0 a.html application/xhtml+xml][rc_1 a.jpg image/jpeg][rc_2 a.png image/png]"
               "[rc_3 a.jpeg image/jpeg][rc_4 a.htm image/htm][rc_5 a.JPG image/JPG]"
               "[rc_6 a.b.gif image/gif][rc_7 a. image/] SPINE>[rc_0]</spine><guide/></package>"},
      {"long names and marks", Opf("", "", {Href(255), Href(256), Href(800), "a&amp;'\".css"}),
       items + "[rc_0 " + Href(255) + " application/xhtml+xml][rc_1 " + Href(256) +
           " application/xhtml+xml][rc_2 " + Href(800) +
           " application/xhtml+xml]"
           "[rc_3 a&amp;amp;'&quot;.css text/css] "
           "SPINE>[rc_0][rc_1][rc_2]</spine><guide/></package>"},
      {"saved again after more records",
       [](XMLFile& file, const char* path) {
         Opf("", "", {"a.css"})(file, path);
         file.AddRecordToOpf("b.css");
         return file.SaveOpfFile(path);
       },
       items + "[rc_0 a.css text/css][rc_1 b.css text/css]" + noPages},
  });
}

// A navigation document that leads to these.
auto Ncx(const char* title, const std::vector<std::string>& sources) {
  return [=](XMLFile& file, const char* path) {
    file.InitNcxFile(title);
    for (const std::string& source : sources) EXPECT_EQ(file.AddRecordToNcx(source.c_str()), 0U);
    return file.SaveNcxFile(path);
  };
}

TEST(PackageDocuments, Navigation) {
  const std::string start = "XML DTD NCX ";
  ExpectDocuments({
      {"two pages", Ncx("My Book", {"page-1.html", "page-2.html"}),
       start +
           "<text>My Book</text></docTitle><navMap>[1 page-1.html][2 page-2.html]</navMap></ncx>"},
      {"null title", Ncx(nullptr, {}), start + "<text/></docTitle><navMap/></ncx>"},
      {"ampersands, duplicates, long names", Ncx("A & B &amp;", {"a&b", "a&b", Href(600)}),
       start + "<text>A &amp; B &amp;amp;</text></docTitle><navMap>[1 a&amp;b][2 a&amp;b][3 " +
           Href(600) + "]</navMap></ncx>"},
      {"numbers begin at 1 again",
       [](XMLFile& file, const char* path) {
         Opf("", "", {"a.css", "b.css"})(file, path);
         Ncx("former", {"a", "b"})(file, path);
         return Ncx("T", {"x"})(file, path);
       },
       start + "<text>T</text></docTitle><navMap>[1 x]</navMap></ncx>"},
  });
}

auto Page(const std::function<void(XMLFile&)>& fill, const char* title = "Page 1") {
  return [=](XMLFile& file, const char* path) {
    file.InitHTML(title);
    fill(file);
    return file.SaveHtml(path);
  };
}

// Table steps, one a letter: table, row, or cell with the letter as its text.
void BuildTable(XMLFile& file, const std::string& steps) {
  for (const char step : steps) {
    const auto op = step == 'T' ? FormTable : step == 'R' ? FormRow : FormCell;
    EXPECT_EQ(file.AddFormToHtml(std::string(1, step).c_str(), op), 0U);
  }
  EXPECT_EQ(file.AddFormToHtml("x", static_cast<FormOperator>(3)), 0U);
}

TEST(PackageDocuments, Page) {
  const std::string start = "XML DTD HTML <title>Page 1</title> BODY ";
  ExpectDocuments({
      {"everything", Page([](XMLFile& file) {
         file.AddTextLineToHtml("Hello");
         file.AddImageToHtml("images/a.png");
         BuildTable(file, "TRx");
       }),
       start + "<body><p class=\"text\">Hello</p><div class=\"div1\"><img src=\"images/a.png\" "
               "alt=\"\" class=\"img1\"/></div><table><tr><td>x</td></tr></table></body></html>"},
      {"nothing", Page([](XMLFile&) {}, ""), "XML DTD HTML <title/> BODY <body/></html>"},
      {"title with references", Page([](XMLFile&) {}, "A &amp; B & C"),
       "XML DTD HTML <title>A &amp; B &amp; C</title> BODY <body/></html>"},
      {"cover", Page([](XMLFile& file) { file.AddImageToXhtml("images/a.jpg"); }),
       start + "<body><div><svg xmlns=\"http://www.w3.org/2000/svg\" "
               "xmlns:xlink=\"http://www.w3.org/1999/xlink\" version=\"1.1\" width=\"100%\" "
               "height=\"100%\" preserveAspectRatio=\" none \"><image width=\"100%\" "
               "height=\"100%\" xlink:href=\"images/a.jpg\"/></svg></div></body></html>"},
      {"texts", Page([](XMLFile& file) {
         for (const char* text : {"", "a &amp; b < c", " x &y "}) file.AddTextLineToHtml(text);
       }),
       start + "<body><p class=\"text\"/><p class=\"text\">a &amp; b &lt; c</p>"
               "<p class=\"text\"> x &amp;y </p></body></html>"},
      {"tables: the newest table and row", Page([](XMLFile& f) { BuildTable(f, "lRTRabTcRdRe"); }),
       start + "<body><table><tr><td>a</td><td>b</td><td>c</td></tr></table>"
               "<table><tr><td>d</td></tr><tr><td>e</td></tr></table></body></html>"},
      {"long reference", Page([](XMLFile& file) { file.AddImageToHtml(Href(700).c_str()); }),
       start + "<body><div class=\"div1\"><img src=\"" + Href(700) +
           "\" alt=\"\" class=\"img1\"/></div></body></html>"},
  });
}

TEST(PackageDocuments, Codes) {
  const TempDir dir;
  const std::string path = dir / "x";
  const char* const file = path.c_str();
  constexpr char kMissing[] = "/nonexistent/x";
  constexpr std::uint32_t kFailed = 0xFFFFFFFF;
  XMLFile fresh;
  XMLFile begun;
  begun.InitOpfFile("", "");
  begun.InitNcxFile("");
  begun.InitHTML("");
  const std::pair<std::uint32_t, std::uint32_t> cases[] = {
      {fresh.SaveOpfFile(file), 409},
      {begun.SaveOpfFile(""), 411},
      {begun.SaveOpfFile(nullptr), 411},
      {begun.SaveOpfFile(kMissing), 413},
      {fresh.SaveNcxFile(file), 409},
      {begun.SaveNcxFile(""), 411},
      {begun.SaveNcxFile(kMissing), 413},
      {fresh.GenerateContainerFile(""), 411},
      {fresh.GenerateContainerFile(nullptr), 411},
      {fresh.GenerateContainerFile(kMissing), 413},
      {fresh.AddTextLineToHtml("x"), 409},
      {fresh.AddImageToHtml("x"), 409},
      {fresh.AddImageToXhtml("x"), 409},
      {fresh.AddFormToHtml("x", FormTable), 409},
      {fresh.SaveHtml(file), kFailed},
      {begun.SaveHtml(""), kFailed},
      {begun.SaveHtml(kMissing), kFailed},
  };
  for (const auto& row : cases) EXPECT_EQ(row.first, row.second) << "row " << &row - cases;
  EXPECT_EQ(ReadFile(path), "");
  begun.Destory();
  begun.Destory();
  EXPECT_EQ(begun.SaveOpfFile(file), 409U);
}

}  // namespace
