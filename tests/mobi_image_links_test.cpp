// Rewriting of the HTML of a MOBI book: this markup in, that markup out.
#include <gtest/gtest.h>

#include "data_rows.h"
#include "temp_dir.h"
#include "xml/xml_base.h"
#include "xml_text.h"

namespace {

TEST(MobiImages, AreLinked) {
  const TempDir dir;
  for (const auto& row : DataRows("mobi_image_links.txt", 4)) {
    SCOPED_TRACE(row[0]);
    const std::string path = dir.Write("book.html", "<html><body>" + row[1] + "</body></html>");
    const auto given = row[2].empty() ? std::vector<std::string>{""} : Split(row[2], '|');
    auto images = given;
    ASSERT_EQ(XMLBase::MobiHtmlProcess(path.c_str(), "UTF-8", images), 0);
    EXPECT_EQ(BodyOf(ReadFile(path)), row[3]);
    EXPECT_EQ(images, given);
  }
}

TEST(MobiImages, ReportWhatFails) {
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

TEST(MobiImages, KeepTheEncoding) {
  const TempDir dir;
  const std::string path = dir.Write("book.html", "<html><body><p>caf\xE9<img recindex=0></p>");
  std::vector<std::string> images = {"\xC3\xA9.jpg"};
  ASSERT_EQ(XMLBase::MobiHtmlProcess(path.c_str(), "windows-1252", images), 0);
  EXPECT_EQ(BodyOf(ReadFile(path)), "<p>caf\xE9<img src=\"\xE9.jpg\"/></p>");
}

}  // namespace
