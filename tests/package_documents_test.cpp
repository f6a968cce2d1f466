// The documents of a book, byte for byte: container, package, navigation and page documents.
#include <gtest/gtest.h>

#include <functional>
#include <regex>

#include "package/xml_file.h"
#include "temp_dir.h"

namespace {

using namespace std::string_literals;

// Parts of the documents that every one of their kind has. The digits of the time are "T" here.
constexpr char kDeclaration[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
constexpr char kDocumentType[] =
    "<!DOCTYPE html PUBLIC \"-//W3C//DTD XHTML 1.1//EN\" "
    "\"http://www.w3.org/TR/xhtml11/DTD/xhtml11.dtd\">\n";
constexpr char kOpfItems[] =
    "</metadata><manifest><item id=\"ncx\" href=\"toc.ncx\" "
    "media-type=\"application/x-dtbncx+xml\"/>";

std::string OpfStart(const std::string& title, const std::string& author) {
  return kDeclaration +
         "<package xmlns=\"http://www.idpf.org/2007/opf\" "
         "xmlns:dc=\"http://purl.org/dc/elements/1.1/\" unique-identifier=\"bookid111\" "
         "version=\"2.0\"><metadata>"s +
         title + author +
         "<dc:language>en</dc:language>"
         "<dc:identifier id=\"bookid111\">urn:uuid:id_T</dc:identifier>";
}

std::string NcxStart(const std::string& title) {
  return kDeclaration + std::string(kDocumentType) +
         "<ncx xmlns=\"http://www.daisy.org/z3986/2005/ncx/\" version=\"2005-1\"><head>"
         "<meta name=\"dtb:uid\" content=\"urn:uuid:id_T\"/><meta name=\"dtb:depth\" "
         "content=\"2\"/><meta name=\"dtb:totalPageCount\" content=\"0\"/>"
         "<meta name=\"dtb:maxPageNumber\" content=\"0\"/></head><docTitle>" +
         title + "</docTitle>";
}

std::string Page(const std::string& title, const std::string& body) {
  return kDeclaration + std::string(kDocumentType) +
         "<html xmlns=\"http://www.w3.org/1999/xhtml\"><head>" + title +
         "<meta name=\"Adept.resource\"/>"
         "<link rel=\"stylesheet\" type=\"text/css\" href=\"main.css\"/></head>" +
         body + "</html>\n";
}

std::string Item(int number, const std::string& href, const std::string& type) {
  return "<item id=\"rc_" + std::to_string(number) + "\" href=\"" + href + "\" media-type=\"" +
         type + "\"/>";
}

std::string OpfEnd(const std::string& itemrefs) {
  return "</manifest><spine toc=\"ncx\"" + (itemrefs.empty() ? "/>" : ">" + itemrefs + "</spine>");
}

constexpr char kEmptyTitle[] = "<dc:title/>";
constexpr char kEmptyAuthor[] = "<dc:creator/>";
constexpr char kNoGuide[] = "<guide/></package>\n";

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
    const std::string saved =
        std::regex_replace(ReadFile(path), std::regex("urn:uuid:id_[0-9]{14}"), "urn:uuid:id_T");
    EXPECT_EQ(saved, row.expected);
  }
}

TEST(PackageDocuments, Container) {
  ExpectDocuments(
      {{"container",
        [](XMLFile& file, const char* path) { return file.GenerateContainerFile(path); },
        kDeclaration + std::string(kDocumentType) +
            "<container version=\"1.0\" "
            "xmlns=\"urn:oasis:names:tc:opendocument:xmlns:container\"><rootfiles>"
            "<rootfile full-path=\"OEBPS/content.opf\" "
            "media-type=\"application/oebps-package+xml\"/></rootfiles></container>\n"}});
}

// A package document with these records, saved.
auto Opf(const char* title, const char* author, std::vector<std::string> records) {
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
  const std::string xhtml = "application/xhtml+xml";
  const std::string skeleton = OpfStart(kEmptyTitle, kEmptyAuthor) + kOpfItems;
  ExpectDocuments({
      {"a book with a cover",
       Opf("Tom & Jerry", "Anon",
           {"main.css", "(cover)", "page-1.html", "page-2.html", "page-1.html"}),
       OpfStart("<dc:title>Tom &amp; Jerry</dc:title>", "<dc:creator>Anon</dc:creator>") +
           "<meta name=\"cover\" content=\"cover-image\"/>" + kOpfItems +
           Item(0, "main.css", "text/css") +
           "<item id=\"cover-image\" href=\"images/cover.jpg\" media-type=\"image/jpeg\"/>"
           "<item id=\"title\" href=\"cover.html\" media-type=\"application/xhtml+xml\"/>" +
           Item(1, "page-1.html", xhtml) + Item(2, "page-2.html", xhtml) +
           OpfEnd("<itemref idref=\"title\"/><itemref idref=\"rc_1\"/><itemref idref=\"rc_2\"/>") +
           "<guide><reference href=\"cover.html\" type=\"cover\" title=\"Cover\"/></guide>"
           "</package>\n"},
      {"empty", Opf("", "", {}), skeleton + OpfEnd("") + kNoGuide},
      {"null texts", Opf(nullptr, nullptr, {}), skeleton + OpfEnd("") + kNoGuide},
      {"ampersands", Opf("A&B&C", "&amp;", {}),
       OpfStart("<dc:title>A&amp;B&amp;C</dc:title>", "<dc:creator>&amp;amp;</dc:creator>") +
           kOpfItems + OpfEnd("") + kNoGuide},
      {"only ampersands, markup and bad bytes", Opf("&&", "<b>\x01\xFF", {}),
       OpfStart("<dc:title>&amp;&amp;</dc:title>", "<dc:creator>&lt;b&gt;\uFFFD</dc:creator>") +
           kOpfItems + OpfEnd("") + kNoGuide},
      {"duplicates leave gaps", Opf("", "", {"a.css", "a.css", "b.css", "a.css", "c.css"}),
       skeleton + Item(0, "a.css", "text/css") + Item(2, "b.css", "text/css") +
           Item(4, "c.css", "text/css") + OpfEnd("") + kNoGuide},
      {"no extension: a gap, and remembered", Opf("", "", {"notes", "notes", "x.css"}),
       skeleton + Item(2, "x.css", "text/css") + OpfEnd("") + kNoGuide},
      {"the cover's files are not remembered", Opf("", "", {"(cover)", "cover.html"}),
       OpfStart(kEmptyTitle, kEmptyAuthor) + "<meta name=\"cover\" content=\"cover-image\"/>" +
           kOpfItems +
           "<item id=\"cover-image\" href=\"images/cover.jpg\" media-type=\"image/jpeg\"/>"
           "<item id=\"title\" href=\"cover.html\" media-type=\"application/xhtml+xml\"/>" +
           Item(0, "cover.html", xhtml) +
           OpfEnd("<itemref idref=\"title\"/><itemref idref=\"rc_0\"/>") +
           "<guide><reference href=\"cover.html\" type=\"cover\" title=\"Cover\"/></guide>"
           "</package>\n"},
      {"media types",
       Opf("", "",
           {"a.html", "a.jpg", "a.css", "a.png", "a.jpeg", "a.htm", "a.JPG", "a.b.gif", "a."}),
       skeleton + Item(0, "a.html", xhtml) + Item(1, "a.jpg", "image/jpeg") +
           Item(2, "a.css", "text/css") + Item(3, "a.png", "image/png") +
           Item(4, "a.jpeg", "image/jpeg") + Item(5, "a.htm", "image/htm") +
           Item(6, "a.JPG", "image/JPG") + Item(7, "a.b.gif", "image/gif") +
           Item(8, "a.", "image/") + OpfEnd("<itemref idref=\"rc_0\"/>") + kNoGuide},
      {"long names and marks", Opf("", "", {Href(255), Href(256), Href(800), "a&amp;'\".css"}),
       skeleton + Item(0, Href(255), xhtml) + Item(1, Href(256), xhtml) +
           Item(2, Href(800), xhtml) +
           "<item id=\"rc_3\" href=\"a&amp;amp;'&quot;.css\" media-type=\"text/css\"/>" +
           OpfEnd("<itemref idref=\"rc_0\"/><itemref idref=\"rc_1\"/><itemref idref=\"rc_2\"/>") +
           kNoGuide},
      {"saved again after more records",
       [](XMLFile& file, const char* path) {
         Opf("", "", {"a.css"})(file, path);
         file.AddRecordToOpf("b.css");
         return file.SaveOpfFile(path);
       },
       skeleton + Item(0, "a.css", "text/css") + Item(1, "b.css", "text/css") + OpfEnd("") +
           kNoGuide},
  });
}

// A navigation document that leads to these.
auto Ncx(const char* title, std::vector<std::string> sources) {
  return [=](XMLFile& file, const char* path) {
    file.InitNcxFile(title);
    for (const std::string& source : sources) EXPECT_EQ(file.AddRecordToNcx(source.c_str()), 0U);
    return file.SaveNcxFile(path);
  };
}

std::string Point(int number, const std::string& source) {
  const std::string n = std::to_string(number);
  return "<navPoint id=\"c" + n + "\" playOrder=\"" + n + "\"><navLabel><text>" + n +
         "</text></navLabel><content src=\"" + source + "\"/></navPoint>";
}

TEST(PackageDocuments, Navigation) {
  ExpectDocuments({
      {"two pages", Ncx("My Book", {"page-1.html", "page-2.html"}),
       NcxStart("<text>My Book</text>") + "<navMap>" + Point(1, "page-1.html") +
           Point(2, "page-2.html") + "</navMap></ncx>\n"},
      {"null title", Ncx(nullptr, {}), NcxStart("<text/>") + "<navMap/></ncx>\n"},
      {"ampersands, duplicates, long names", Ncx("A & B &amp;", {"a&b", "a&b", Href(600)}),
       NcxStart("<text>A &amp; B &amp;amp;</text>") + "<navMap>" + Point(1, "a&amp;b") +
           Point(2, "a&amp;b") + Point(3, Href(600)) + "</navMap></ncx>\n"},
      {"numbers begin at 1 whatever the package document holds",
       [](XMLFile& file, const char* path) {
         Opf("", "", {"a.css", "b.css"})(file, path);
         Ncx("former", {"a", "b"})(file, path);
         return Ncx("T", {"x"})(file, path);
       },
       NcxStart("<text>T</text>") + "<navMap>" + Point(1, "x") + "</navMap></ncx>\n"},
  });
}

auto PageOf(std::function<void(XMLFile&)> fill, const char* title = "Page 1") {
  return [=](XMLFile& file, const char* path) {
    file.InitHTML(title);
    fill(file);
    return file.SaveHtml(path);
  };
}

TEST(PackageDocuments, Page) {
  const std::string title = "<title>Page 1</title>";
  const std::string table = "<table border=\"1\" cellpadding=\"0\" cellspacing=\"0\">";
  ExpectDocuments({
      {"everything", PageOf([](XMLFile& file) {
         file.AddTextLineToHtml("Hello");
         file.AddImageToHtml("images/a.png");
         file.AddFormToHtml("ignored", FormTable);
         file.AddFormToHtml("ignored", FormRow);
         file.AddFormToHtml("x", FormCell);
       }),
       Page(title,
            "<body><p class=\"text\">Hello</p><div class=\"div1\"><img "
            "src=\"images/a.png\" alt=\"\" class=\"img1\"/></div>" +
                table + "<tr><td>x</td></tr></table></body>")},
      {"nothing", PageOf([](XMLFile&) {}, ""), Page("<title/>", "<body/>")},
      {"title with references", PageOf([](XMLFile&) {}, "A &amp; B & C"),
       Page("<title>A &amp; B &amp; C</title>", "<body/>")},
      {"cover", PageOf([](XMLFile& file) { file.AddImageToXhtml("images/a.jpg"); }),
       Page(title,
            "<body><div><svg xmlns=\"http://www.w3.org/2000/svg\" "
            "xmlns:xlink=\"http://www.w3.org/1999/xlink\" version=\"1.1\" width=\"100%\" "
            "height=\"100%\" preserveAspectRatio=\" none \"><image width=\"100%\" height=\"100%\" "
            "xlink:href=\"images/a.jpg\"/></svg></div></body>")},
      {"texts", PageOf([](XMLFile& file) {
         for (const char* text : {"", "a &amp; b < c", " two ", "x &y"})
           file.AddTextLineToHtml(text);
       }),
       Page(title,
            "<body><p class=\"text\"/><p class=\"text\">a &amp; b &lt; c</p>"
            "<p class=\"text\"> two </p><p class=\"text\">x &amp;y</p></body>")},
      {"tables: the newest table and row", PageOf([](XMLFile& file) {
         const std::pair<const char*, FormOperator> steps[] = {
             {"lost", FormCell}, {"", FormRow},   {"", FormTable}, {"", FormRow},
             {"a", FormCell},    {"b", FormCell}, {"", FormTable}, {"late", FormCell},
             {"", FormRow},      {"c", FormCell}, {"", FormRow},   {"d", FormCell}};
         for (const auto& [text, op] : steps) EXPECT_EQ(file.AddFormToHtml(text, op), 0U);
         EXPECT_EQ(file.AddFormToHtml("x", static_cast<FormOperator>(3)), 0U);
         file.AddTextLineToHtml("after");
       }),
       Page(title, "<body>" + table + "<tr><td>a</td><td>b</td><td>late</td></tr></table>" + table +
                       "<tr><td>c</td></tr><tr><td>d</td></tr></table>"
                       "<p class=\"text\">after</p></body>")},
      {"long reference", PageOf([](XMLFile& file) { file.AddImageToHtml(Href(700).c_str()); }),
       Page(title, "<body><div class=\"div1\"><img src=\"" + Href(700) +
                       "\" alt=\"\" class=\"img1\"/></div></body>")},
  });
}

TEST(PackageDocuments, Codes) {
  const TempDir dir;
  const std::string file = dir / "x";
  const std::string missing = dir / "no/x";
  XMLFile fresh;
  XMLFile begun;
  begun.InitOpfFile("", "");
  begun.InitNcxFile("");
  begun.InitHTML("");
  const struct {
    const char* name;
    std::uint32_t code, expected;
  } cases[] = {
      {"opf: none", fresh.SaveOpfFile(file.c_str()), 409},
      {"opf: no path", begun.SaveOpfFile(""), 411},
      {"opf: null path", begun.SaveOpfFile(nullptr), 411},
      {"opf: unwritable", begun.SaveOpfFile(missing.c_str()), 413},
      {"ncx: none", fresh.SaveNcxFile(file.c_str()), 409},
      {"ncx: no path", begun.SaveNcxFile(""), 411},
      {"ncx: unwritable", begun.SaveNcxFile(missing.c_str()), 413},
      {"container: no path", fresh.GenerateContainerFile(""), 411},
      {"container: null path", fresh.GenerateContainerFile(nullptr), 411},
      {"container: unwritable", fresh.GenerateContainerFile(missing.c_str()), 413},
      {"text: no page", fresh.AddTextLineToHtml("x"), 409},
      {"picture: no page", fresh.AddImageToHtml("x"), 409},
      {"cover: no page", fresh.AddImageToXhtml("x"), 409},
      {"table: no page", fresh.AddFormToHtml("x", FormTable), 409},
      {"page: none", fresh.SaveHtml(file.c_str()), 0xFFFFFFFF},
      {"page: no path", begun.SaveHtml(""), 0xFFFFFFFF},
      {"page: unwritable", begun.SaveHtml(missing.c_str()), 0xFFFFFFFF},
  };
  for (const auto& row : cases) EXPECT_EQ(row.code, row.expected) << row.name;
  EXPECT_EQ(ReadFile(file), "");
  begun.Destory();
  begun.Destory();
  EXPECT_EQ(begun.SaveOpfFile(file.c_str()), 409U);
}

}  // namespace
