// The clean-up of foreign HTML, rule by rule: this body in, that body out.
#include <gtest/gtest.h>

#include "data_rows.h"
#include "temp_dir.h"
#include "xml/xml_base.h"
#include "xml_text.h"

namespace {

// A page that was cleaned up.
struct Page {
  int code;
  std::string markup;  // the whole file
  std::string body;    // what its body holds
  std::vector<std::string> sources;
};

// A directory with a DTD and a picture, a page and a style sheet to refer to.
struct Workplace {
  Workplace() {
    dir.Write("xhtml.dtd", kXhtml1StrictDtd[0]);
    dir.Write("broken.dtd", "<!ELEMENT");
    for (const char* name : {"p.png", "sub/q.jpg", "a b.png", "b.html", "100%.png"}) {
      dir.Write(name, "x");
    }
  }

  Page Clean(const std::string& html, const std::string& dtd = "xhtml.dtd") const {
    const std::string source = dir.Write("source.html", html);
    const std::string saved = dir / "saved.html";
    XMLBase page;
    page.Init();
    const int code =
        page.HtmlProcess(source.c_str(), dir.String().c_str(), "title", (dir / dtd).c_str());
    page.SaveFile(saved.c_str());
    Page result{code, ReadFile(saved), BodyOf(ReadFile(saved)), {}};
    while (char* path = page.GetXhtmlExternSource()) {
      result.sources.emplace_back(path);
      std::free(path);
    }
    return result;
  }

  const TempDir dir;
};

TEST(XhtmlRepair, MakesOfMarkup) {
  const Workplace workplace;
  for (const auto& row : DataRows("html_repairs.txt", 3)) {
    SCOPED_TRACE(row[0]);
    const Page page = workplace.Clean("<html><body>" + row[1] + "</body></html>");
    EXPECT_EQ(page.code, 0);
    EXPECT_EQ(page.body, row[2]);
  }
}

TEST(XhtmlRepair, LosesNothingThatStandsOutsideTheBody) {
  const Workplace workplace;
  for (const auto& row : DataRows("page_bodies.txt", 3)) {
    EXPECT_EQ(workplace.Clean(row[1]).body, row[2]) << row[0];
  }
}

TEST(XhtmlRepair, HandsOutLocalSourcesLastFirst) {
  const Page page = Workplace().Clean(
      "<p><a href=\"b.html\">x</a><img src=\"sub/q.jpg\"><img src=\"a%20b.png\">"
      "<img src=\"100%25.png\"></p>");
  const std::vector<std::string> expected = {"100%.png", "a b.png", "sub/q.jpg", "b.html"};
  EXPECT_EQ(page.sources, expected);
}

TEST(XhtmlRepair, LinksAStyleSheetBesideThePage) {
  const Workplace workplace;
  EXPECT_EQ(workplace.Clean("<p>x").markup.find("<link"), std::string::npos);
  workplace.dir.Write("main.css", "p {}");
  const Page page = workplace.Clean("<p>x");
  EXPECT_NE(page.markup.find(R"(<link rel="stylesheet" type="text/css" href="main.css"/>)"),
            std::string::npos);
  EXPECT_EQ(page.sources, std::vector<std::string>{"main.css"});
}

TEST(XhtmlRepair, ReportsWhatFails) {
  const Workplace workplace;
  for (const auto& row : DataRows("html_codes.txt", 4)) {
    EXPECT_EQ(workplace.Clean(row[1], row[2]).code, std::stoi(row[3])) << row[0];
  }
  const std::string dtd = workplace.dir / "xhtml.dtd";
  XMLBase page;
  EXPECT_EQ(page.HtmlProcess((workplace.dir / "b.html").c_str(), "", "", dtd.c_str()), 416);
  page.Init();
  EXPECT_EQ(page.HtmlProcess((workplace.dir / "none.html").c_str(), "", "", dtd.c_str()), 404);
  EXPECT_EQ(page.HtmlProcess(workplace.dir.String().c_str(), "", "", dtd.c_str()), 404);
  EXPECT_EQ(page.GetXhtmlExternSource(), nullptr);
}

// By the rules only a fresh object starts clean. The nodes of earlier pages are gone, and later
// pages get their memory: an owner of an id must not be known by its address.
TEST(XhtmlRepair, TakesFurtherPagesInPlaceOfTheFirst) {
  constexpr size_t kPages = 20;
  const Workplace workplace;
  XMLBase page;
  page.Init();
  for (size_t number = 0; number < kPages; ++number) {
    const std::string path =
        workplace.dir.Write("page.html", Repeated("<i>", number) + "<img src=p.png alt=y>" +
                                             Repeated("<p id=a\\#><a href='#a\\#'>x</a></p>", 500));
    ASSERT_EQ(page.HtmlProcess(path.c_str(), workplace.dir.String().c_str(), "title",
                               (workplace.dir / "xhtml.dtd").c_str()),
              0);
    ASSERT_EQ(page.SaveFile((workplace.dir / "saved.html").c_str()), 0U);
    const XmlDoc saved = ParseXml(ReadFile(workplace.dir / "saved.html"));
    EXPECT_EQ(XPathTexts(saved, "count(//@id)")[0], number == 0 ? "500" : "0");
    EXPECT_EQ(XPathTexts(saved, "count(//@href)")[0], number == 0 ? "500" : "0");
  }
  for (size_t number = 0; number < kPages; ++number) {
    const std::unique_ptr<char, decltype(&std::free)> source(page.GetXhtmlExternSource(),
                                                             std::free);
    EXPECT_STREQ(source.get(), "p.png");
  }
}

TEST(XhtmlRepair, FindsOutTheEncoding) {
  const Workplace workplace;
  for (const auto& row : DataRows("html_encodings.txt", 3)) {
    EXPECT_EQ(workplace.Clean(row[1]).body, "<p>" + row[2] + "</p>") << row[0];
  }
}

void ExpectWellFormed(const std::string& name, const std::string& html) {
  SCOPED_TRACE(name);
  testing::internal::CaptureStderr();
  const Page page = Workplace().Clean(html);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_TRUE(page.code == 0 || page.code == 415) << page.code;
  EXPECT_TRUE(page.code == 415 || ParseXml(page.markup) != nullptr) << page.markup.substr(0, 1000);
}

class HostilePages : public testing::TestWithParam<size_t> {};

TEST_P(HostilePages, BecomeWellFormed) {
  const auto row = DataRow("hostile_pages.txt", 2, GetParam());
  ExpectWellFormed(row[0], row[1]);
}

INSTANTIATE_TEST_SUITE_P(Rows, HostilePages,
                         testing::Range<size_t>(0, CountOfRows("hostile_pages.txt", 2)));

// Only the parser knows where these begin a tag, and it would take a minute for it.
TEST(XhtmlRepair, RefusesCrowdedTagsWhereNothingElseHelps) {
  const std::string attributes = Repeated(" a\\#", 50'000);
  for (const std::string before :
       {"<style><body><p", "<script><noscript", "<p><style></p><p", "<p><!doctype html></x<p",
        "<!doctype html public '>' '><x y='><p"}) {
    EXPECT_EQ(Workplace().Clean(before + attributes + ">y").code, 404) << before;
  }
}

TEST(XhtmlRepair, MakesBinaryDataWellFormed) {
  std::string bytes;
  for (int i = 0; i < 65536; ++i) bytes += static_cast<char>(i * 7919 >> (i & 7));
  ExpectWellFormed("binary", bytes);
  ExpectWellFormed("binary in a body", "<body>" + bytes);
}

TEST(XhtmlRepair, LosesNoTextOfALongLineOrDeepNesting) {
  const Page line = Workplace().Clean("<p>" + Repeated("0123456789", 1'200'000) + "end</p>");
  EXPECT_EQ(line.body.size(), 12'000'000 + std::string("<p>end</p>").size());
  const Page nested = Workplace().Clean(Repeated("<b>", 2000) + "end");
  EXPECT_NE(nested.body.find("end"), std::string::npos);
}

TEST(XhtmlRepair, WalksATreeOfTheHost) {
  XMLBase page;
  xmlValidCtxt* context = xmlNewValidCtxt();
  EXPECT_EQ(page.xhtmlValidateDtd(context, nullptr, nullptr), 0);
  EXPECT_EQ(page.xhtmlValidateElement(context, nullptr, nullptr), 0);
  XMLBase::PrintWarning(nullptr, nullptr);
  XMLBase::PrintError(nullptr, "");
  xmlFreeValidCtxt(context);
}

}  // namespace
