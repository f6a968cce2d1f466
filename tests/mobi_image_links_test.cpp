// Rewriting of the HTML of a MOBI book: this markup in, that markup out.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "temp_dir.h"
#include "xml/xml_base.h"

namespace {

struct Case {
  const char* name;
  std::string body;
  std::vector<std::string> images;
  std::string expected;
};

class MobiImages : public testing::TestWithParam<Case> {};

std::string BodyOf(const std::string& html) {
  const size_t start = html.find("<body>");
  const size_t end = html.rfind("</body>");
  if (start == std::string::npos || end == std::string::npos) return "no body in " + html;
  return html.substr(start + 6, end - start - 6);
}

TEST_P(MobiImages, AreLinked) {
  const TempDir dir;
  const std::string path =
      dir.Write("book.html", "<html><body>" + GetParam().body + "</body></html>");
  std::vector<std::string> images = GetParam().images;
  ASSERT_EQ(XMLBase::MobiHtmlProcess(path.c_str(), "UTF-8", images), 0);
  EXPECT_EQ(BodyOf(ReadFile(path)), GetParam().expected);
  EXPECT_EQ(images, GetParam().images);
}

std::string ManyAttributes() {
  std::string attributes;
  for (int i = 0; i < 70; ++i) attributes.append("a").append(std::to_string(i)) += ' ';
  return attributes;
}

const std::vector<std::string> kTwo = {"a.jpg", "b.jpg"};

INSTANTIATE_TEST_SUITE_P(
    Table, MobiImages,
    testing::Values(
        Case{"ByRecord", "<p><img recindex=\"1\"></p>", kTwo, "<p><img src=\"b.jpg\"/></p>"},
        Case{"LeadingZeros", "<p><img recindex=\"00001\"></p>", kTwo,
             "<p><img src=\"b.jpg\"/></p>"},
        Case{"OtherAttributesGo", "<p><img alt=\"x\" recindex=\"0\" src=\"y\"></p>", kTwo,
             "<p><img src=\"a.jpg\"/></p>"},
        Case{"TooLarge", "<p>a<img recindex=\"2\">b</p>", kTwo, "<p>ab</p>"},
        Case{"Negative", "<p><img recindex=\"-1\"></p>", kTwo, "<p/>"},
        Case{"NoNumber", "<p><img recindex=\"x\"></p>", kTwo, "<p><img src=\"a.jpg\"/></p>"},
        Case{"NoRecord", "<p><img src=\"y\" alt=\"z\"></p>", kTwo,
             "<p><img src=\"y\" alt=\"z\"/></p>"},
        Case{"EmptyName", "<p><img recindex=\"0\"></p>", {""}, "<p><img src=\"\"/></p>"},
        Case{"NameOfAnyBytes",
             "<p><img recindex=\"0\"></p>",
             {"a\xE9\x01.jpg"},
             "<p><img src=\"a\xEF\xBF\xBD.jpg\"/></p>"},
        Case{"RecordAmongManyAttributes", "<p><img " + ManyAttributes() + "recindex=\"1\"></p>",
             kTwo, "<p><img src=\"b.jpg\"/></p>"},
        Case{"FirstImageElementOnly",
             "<div><image></image></div><div><image id=\"2\"></image></div>", kTwo,
             "<div><img src=\"a.jpg\"/></div><div><image id=\"2\"/></div>"},
        Case{"ImageElementWithoutCover", "<div>x<image></image></div>", {"", "b"}, "<div>x</div>"},
        Case{"NestedDocuments",
             "<div>a<html><body>b</body></html></div><html><body>c</body></html>", kTwo,
             "<div>ab</div>c"},
        Case{"NamesThatXmlDoesNotKnow", "<p><b .y=\"1\" z=\"2\">b</b></p>", kTwo,
             "<p><b z=\"2\">b</b></p>"},
        Case{"Instructions", "<p><?xml a?>b</p>", kTwo, "<p>b</p>"},
        Case{"Comments", "<p>a<!-- b -- c --->d</p>", kTwo, "<p>a<!-- b -  c  -->d</p>"},
        Case{"ControlCharacters", std::string("<p>a\0\x01&#2;b</p>", 15), kTwo, "<p>ab</p>"}),
    [](const auto& row) { return row.param.name; });

TEST(MobiHtmlProcess, ReportsWhatFails) {
  const TempDir dir;
  const std::string path = dir.Write("book.html", "<html><body><img recindex=0></body></html>");
  std::vector<std::string> images = {"a.jpg"};
  std::vector<std::string> none;
  EXPECT_EQ(XMLBase::MobiHtmlProcess((dir / "none.html").c_str(), "UTF-8", none), 402);
  EXPECT_EQ(XMLBase::MobiHtmlProcess(dir.String().c_str(), "UTF-8", images), 402);
  EXPECT_EQ(XMLBase::MobiHtmlProcess(path.c_str(), "no such encoding", images), 417);
  EXPECT_EQ(XMLBase::MobiHtmlProcess(path.c_str(), "UTF-8", none), 0);
  EXPECT_EQ(ReadFile(path), "<html><body><img recindex=0></body></html>");
  const std::string remark = dir.Write("remark.html", "<!-- nothing -->");
  EXPECT_EQ(XMLBase::MobiHtmlProcess(remark.c_str(), "UTF-8", images), 404);
  EXPECT_EQ(ReadFile(remark), "<!-- nothing -->");
}

TEST(MobiHtmlProcess, KeepsTheEncoding) {
  const TempDir dir;
  const std::string path = dir.Write("book.html", "<html><body><p>caf\xE9<img recindex=0></p>");
  std::vector<std::string> images = {"\xC3\xA9.jpg"};
  ASSERT_EQ(XMLBase::MobiHtmlProcess(path.c_str(), "windows-1252", images), 0);
  EXPECT_NE(ReadFile(path).find("caf\xE9<img src=\"\xE9.jpg\"/>"), std::string::npos)
      << ReadFile(path);
}

}  // namespace
