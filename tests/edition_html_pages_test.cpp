// What becomes of the body of a page: its markup as XHTML 1.1 has it, at the cost of its size.
#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>

#include "data_rows.h"
#include "edition/page/page_reader.h"
#include "edition/page/reference.h"
#include "edition/page/style_rules.h"
#include "small_stack.h"

namespace {

// Marks of links are shown as "@", those of parts and ends of pages not at all.
std::string Shown(const std::string& markup) {
  std::string shown;
  for (size_t at = 0; at < markup.size(); ++at) {
    if (markup[at] > kPartEndMark || markup[at] < kReferenceMark) {
      shown += markup[at];
      continue;
    }
    if (markup[at] == kReferenceMark) shown += '@';
    at = markup.find(kMarkEnd, at);
  }
  std::erase(shown, '\n');
  return shown;
}

TEST(HtmlPages, BecomeXhtml) {
  for (const auto& row : DataRows("page_markup.txt", 3)) {
    EXPECT_EQ(Shown(ReadPage(row[1]).markup.body), row[2]) << row[0];
  }
}

TEST(HtmlPages, KeepTheLookOfTheirFirstBody) {
  const HtmlPage page = ReadPage(
      "<html class=no><body class=a id=b style='color:red'><p>x<a href=y>z</a><body id=c class=d>");
  EXPECT_EQ(page.bodyClass, "a");
  EXPECT_EQ(page.bodyId, "b");
  EXPECT_EQ(page.bodyStyle, "color: red; ");
  EXPECT_EQ(page.ownText, 1U);
}

TEST(HtmlPages, KeepStylesThatReadersUnderstand) {
  const auto nameOf = [](const char* name) {
    return [name](std::string_view reference) {
      return reference.starts_with("http:") ? std::string() : std::string(name);
    };
  };
  for (const auto& row : DataRows("page_styles.txt", 3)) {
    EXPECT_EQ(StyleRules().Clean(row[1], nameOf("url(x)"), nameOf("s.css")), row[2]) << row[0];
  }
}

TEST(HtmlPages, LeadOut) {
  for (const auto& row : DataRows("page_links.txt", 2)) {
    EXPECT_EQ(Resolve(row[0], "in/a.html").target, row[1]) << row[0];
  }
}

TEST(HtmlPages, CanEndWithLinesOfLongTexts) {
  constexpr size_t kFarthest = 80'000;
  const std::string line = "x = <b>1</b>; <i>y";
  for (const auto& [begin, end] : {std::pair("<pre>", "\n</i>"),
                                   {"<pre><code id=a>", "\nz</i>"},
                                   {"", "</i><br><br>\n"},
                                   {"<p><font size=2>", "<br/></i>"},
                                   {"<ul><li><table><td>", "</i><br>"}}) {
    const std::string body = ReadPage(begin + Repeated(line + end, 10'000)).markup.body;
    size_t last = 0;
    for (size_t next = 0; (next = body.find(kBreakMark, last + 1)) != std::string::npos;) {
      EXPECT_LT(next - last, kFarthest) << begin;
      last = next;
    }
    EXPECT_LT(body.size() - last, kFarthest) << begin;
  }
}

TEST(HtmlPages, NeedSmallStacksAndLittleTime) {
  constexpr std::clock_t kMostSeconds = 20;
  constexpr size_t kLargest = 3 << 20;  // what is larger is one long line
  for (const auto& row : DataRows("hostile_pages.txt", 2)) {
    if (row[1].size() > kLargest) continue;
    const std::clock_t start = std::clock();
    size_t size = 0;
    EXPECT_TRUE(RunsOnSmallStack([&] {
      const PageMarkup markup = ReadPage(row[1]).markup;
      size = markup.body.size();
      for (const PageBreak& place : markup.breaks) size += place.beginning.size();
    }));
    EXPECT_LT(size, row[1].size() * 20 + 4096) << row[0];
    EXPECT_LT((std::clock() - start) / CLOCKS_PER_SEC, kMostSeconds) << row[0];
  }
}

}  // namespace
