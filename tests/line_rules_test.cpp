// The rules of plain text: which lines begin paragraphs, and what comes of them on a page.
#include <gtest/gtest.h>

#include "builder/epub_base.h"
#include "temp_dir.h"
#include "xml_text.h"

namespace {

using namespace std::string_literals;

struct Counts {
  int indent, lastLength, longest;
  bool operator==(const Counts&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Counts& counts) {
  return out << counts.indent << ", " << counts.lastLength << ", " << counts.longest;
}

struct LineCase {
  const char* name;
  std::string line;
  Counts before;
  int decision;
  std::string text;
  Counts after;
};

const LineCase kLineCases[] = {
    {"empty: no counter changes", "", {2, 3, 4}, 407, "", {2, 3, 4}},
    {"first line of a page", "Hello\n", {0, 0, 0}, 0, "Hello ", {0, 6, 6}},
    {"line feed alone", "\n", {0, 6, 6}, 1, " ", {0, 1, 6}},
    {"line feed alone after an indented line", "\n", {2, 6, 6}, 0, " ", {0, 1, 6}},
    {"line feed in front", "\nA\n", {0, 0, 0}, 1, "\nA ", {0, 3, 3}},
    {"without line feed", "Hello", {0, 6, 6}, 0, "Hello", {0, 5, 6}},
    {"more indented", "  World\n", {0, 6, 6}, 1, "  World ", {2, 8, 8}},
    {"less indented, not at the margin", " World\n", {2, 6, 6}, 1, " World ", {1, 7, 7}},
    {"back at the margin", "World\n", {2, 8, 8}, 0, "World ", {0, 6, 8}},
    {"back at the margin after a short line", "World\n", {2, 8, 100}, 0, "World ", {0, 6, 100}},
    {"same indentation", "  World\n", {2, 8, 8}, 0, "  World ", {2, 8, 8}},
    {"a tab is no indentation", "\tA\n", {0, 3, 3}, 0, "\tA ", {0, 3, 3}},
    {"blanks alone", "  ", {2, 2, 2}, 0, "  ", {2, 2, 2}},
    {"bullet", "\u2022A\n", {0, 5, 5}, 1, "\u2022A ", {1, 5, 5}},
    {"private bullet", "\uF06EA\n", {0, 5, 5}, 1, "\uF06EA ", {1, 5, 5}},
    {"bullet at the same count", "\u2022A\n", {1, 5, 5}, 1, "\u2022A ", {1, 5, 5}},
    {"bullets and blanks",
     " \u2022 \uF06E\u2022A\n",
     {5, 0, 0},
     1,
     " \u2022 \uF06E\u2022A ",
     {5, 13, 13}},
    {"bullet alone", "\u2022", {1, 3, 3}, 1, "\u2022", {1, 3, 3}},
    {"bullet inside the text", "A\u2022B\n", {0, 6, 6}, 0, "A\u2022B ", {0, 6, 6}},
    {"cut bullet", "\xE2", {0, 1, 1}, 0, "\xE2", {0, 1, 1}},
    {"cut bullet after its second byte", "\xE2\x80", {0, 2, 2}, 0, "\xE2\x80", {0, 2, 2}},
    {"cut private bullet", "\xEF\x81", {0, 2, 2}, 0, "\xEF\x81", {0, 2, 2}},
    {"a bullet's neighbour", "\u2023A\n", {0, 5, 5}, 0, "\u2023A ", {0, 5, 5}},
    {"three blanks between", "A   B\n", {0, 6, 6}, 1, "A   B ", {0, 6, 6}},
    {"two blanks between", "A  B\n", {0, 5, 5}, 0, "A  B ", {0, 5, 5}},
    {"two and two", "A  B  C\n", {0, 8, 8}, 0, "A  B  C ", {0, 8, 8}},
    {"three blanks and the line feed", "A   \n", {0, 5, 5}, 1, "A    ", {0, 5, 5}},
    {"three blanks at the very end", "A   ", {0, 4, 4}, 0, "A   ", {0, 4, 4}},
    {"four blanks at the very end", "A    ", {0, 5, 5}, 1, "A    ", {0, 5, 5}},
    {"the indentation is no gap", "    A\n", {4, 6, 6}, 0, "    A ", {4, 6, 6}},
    {"a gap in a line of changed indentation", "A   B\n", {1, 6, 6}, 0, "A   B ", {0, 6, 6}},
    {"previous line short", "A\n", {0, 80, 100}, 1, "A ", {0, 2, 100}},
    {"previous line long enough", "A\n", {0, 81, 100}, 0, "A ", {0, 2, 100}},
    {"four fifths, cut off", "A\n", {0, 7, 9}, 1, "A ", {0, 2, 9}},
    {"just above four fifths", "A\n", {0, 8, 9}, 0, "A ", {0, 2, 9}},
    {"four fifths of 1", "A\n", {0, 1, 1}, 0, "A ", {0, 2, 2}},
    {"no longest line yet", "A\n", {0, 0, 0}, 0, "A ", {0, 2, 2}},
    {"after a picture: no previous length", "A\n", {0, 0, 9}, 1, "A ", {0, 2, 9}},
    {"lengths are bytes", "漢\n", {0, 0, 0}, 0, "漢 ", {0, 4, 4}},
    {"ampersands",
     "a & b &amp; &lt;\n",
     {0, 0, 0},
     0,
     "a &amp; b &amp;amp; &amp;lt; ",
     {0, 17, 17}},
    {"control characters",
     "a\x18"
     "b\fc\x01\n",
     {0, 0, 0},
     0,
     "a b c\x01 ",
     {0, 7, 7}},
    {"only the last line feed", "a\nb\n", {0, 0, 0}, 0, "a\nb ", {0, 4, 4}},
    {"a line feed before the end", "a\nb", {0, 0, 0}, 0, "a b", {0, 3, 3}},
    {"carriage return stays", "a\r\n", {0, 0, 0}, 0, "a\r ", {0, 3, 3}},
    {"markup stays", "<b>\n", {0, 0, 0}, 0, "<b> ", {0, 4, 4}},
};

TEST(LineRules, DecideAndClean) {
  for (const LineCase& row : kLineCases) {
    SCOPED_TRACE(row.name);
    Counts counts = row.before;
    std::string text = "former";
    EXPECT_EQ(EpubBase().LineProc(row.line.c_str(), text, counts.indent, counts.lastLength,
                                  counts.longest),
              row.decision);
    EXPECT_EQ(text, row.text);
    EXPECT_EQ(counts, row.after);
  }
  Counts counts{2, 3, 4};
  std::string text = "former";
  EXPECT_EQ(EpubBase().LineProc(nullptr, text, counts.indent, counts.lastLength, counts.longest),
            407);
  EXPECT_EQ(text, "");
  EXPECT_EQ(counts, (Counts{2, 3, 4}));
}

struct PageCase {
  const char* name;
  std::vector<std::string> lines;               // "(page)" ends a page and begins the next one
  std::vector<std::vector<std::string>> pages;  // the paragraphs of each
};

const std::string kLong(99, 'x');
const std::string kShort(79, 'y');

const PageCase kPageCases[] = {
    {"no line", {}, {{""}}},
    {"one paragraph", {"Hello\n", "World\n"}, {{"Hello World "}}},
    {"the first break writes an empty paragraph", {"  Hello\n"}, {{"", "  Hello "}}},
    {"indented paragraphs", {"  A\n", "b\n", "  C\n", "d\n"}, {{"", "  A b ", "  C d "}}},
    {"empty line between", {"A\n", "\n", "B\n"}, {{"A ", " ", "B "}}},
    {"a short line ends a paragraph",
     {kLong + "\n", kShort + "\n", "z\n"},
     {{kLong + " " + kShort + " ", "z "}}},
    {"the rules begin anew on each page",
     {kLong + "\n", "(page)", kShort + "\n", kLong},
     {{kLong + " "}, {kShort + " " + kLong}}},
    {"an indentation ends with its page",
     {"  A\n", "(page)", "  B\n"},
     {{"", "  A "}, {"", "  B "}}},
    {"texts as they are", {"a & b &lt; <c>\n"}, {{"a & b &lt; <c> "}}},
    {"a character over two lines",
     {"aaaaaaaa\xE6",
      "\xBC\xA2"
      "bbbbbbb"},
     {{"aaaaaaaa漢bbbbbbb"}}},
    {"a character at a paragraph break",
     {"aaaaaaaa\xE6\xBC",
      "\xA2"
      "b   c\n"},
     {{"aaaaaaaa漢", "b   c "}}},
    {"a character at the end of a page",
     {"a\xF0\x9F", "(page)",
      "\x98\x80"
      "b\n"},
     {{"a"}, {"😀b "}}},
    {"a character over pages without lines",
     {"a\xF0", "(page)", "(page)",
      "\x9F\x98\x80"
      "b\n"},
     {{"a"}, {""}, {"😀b "}}},
    {"a character that is never completed", {"a\xE6", "b\n"}, {{"a\uFFFDb "}}},
    {"a character that is not completed on the next page",
     {"a\xE6", "(page)", "b\n"},
     {{"a"}, {"\uFFFDb "}}},
    {"a text that ends inside a character", {"  A\n", "b\xE6\xBC"}, {{"", "  A b\uFFFD"}}},
    {"a text that ends inside a character, a page ago",
     {"b\xE6\xBC", "(page)"},
     {{"b\uFFFD"}, {""}}},
};

TEST(LineRules, GatherParagraphsOnPages) {
  for (const PageCase& row : kPageCases) {
    SCOPED_TRACE(row.name);
    const TempDir dir;
    EpubBase book;
    ASSERT_EQ(book.Init(dir.String().c_str(), "", ""), 0);
    ASSERT_EQ(book.StartPage(), 0);
    for (const std::string& line : row.lines) {
      if (line == "(page)") {
        ASSERT_EQ(book.EndPage(), 0);
        ASSERT_EQ(book.StartPage(), 0);
      } else {
        ASSERT_EQ(book.AddTextLineToPage(line.c_str()), 0);
      }
    }
    ASSERT_EQ(book.EndPage(), 0);
    ASSERT_EQ(book.GenerateEpub((dir / "book.epub").c_str()), 0);
    std::vector<std::vector<std::string>> pages;
    for (size_t n = 1; n <= row.pages.size(); ++n) {
      const std::string name = "epub_temp/epub/OEBPS/page-" + std::to_string(n) + ".html";
      pages.push_back(TextsOf(ReadFile(dir / name), "p"));
    }
    EXPECT_EQ(pages, row.pages);
  }
}

TEST(LineRules, TablesStandBeforeTheGatheredParagraph) {
  const TempDir dir;
  EpubBase book;
  ASSERT_EQ(book.Init(dir.String().c_str(), "", ""), 0);
  EXPECT_EQ(book.AddFormToPage("", FormTable), -1) << "no page is open";
  ASSERT_EQ(book.StartPage(), 0);
  book.AddTextLineToPage("gathered\n");
  EXPECT_EQ(book.AddFormToPage("", FormTable), 0);
  EXPECT_EQ(book.AddFormToPage("", FormRow), 0);
  EXPECT_EQ(book.AddFormToPage("x", FormCell), 0);
  ASSERT_EQ(book.EndPage(), 0);
  EXPECT_EQ(book.AddFormToPage("", FormTable), -1);
  const std::string page = ReadFile(dir / "epub_temp/epub/OEBPS/page-1.html");
  EXPECT_NE(page.find("</table><p class=\"text\">gathered </p></body>"), std::string::npos) << page;
}

}  // namespace
