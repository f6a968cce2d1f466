// The rules of plain text: which lines begin paragraphs, and what comes of them on a page.
#include <gtest/gtest.h>

#include "book_script.h"

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
  std::string script;                           // of the pages, see book_script.h
  std::vector<std::vector<std::string>> pages;  // the paragraphs of each
};

const std::string kLong(99, 'x');
const std::string kShort(79, 'y');

const PageCase kPageCases[] = {
    {"no line", "", {{""}}},
    {"one paragraph", "line Hello\n|line World\n", {{"Hello World "}}},
    {"the first break writes an empty paragraph", "line   Hello\n", {{"", "  Hello "}}},
    {"indented", "line   A\n|line b\n|line   C\n|line d\n", {{"", "  A b ", "  C d "}}},
    {"empty line between", "line A\n|line \n|line B\n", {{"A ", " ", "B "}}},
    {"a short line ends a paragraph",
     "line " + kLong + "\n|line " + kShort + "\n|line z\n",
     {{kLong + " " + kShort + " ", "z "}}},
    {"lengths begin anew on a page",
     "line " + kLong + "\n|end|start|line " + kShort + "\n|line " + kLong,
     {{kLong + " "}, {kShort + " " + kLong}}},
    {"so does indentation", "line   A\n|end|start|line   B\n", {{"", "  A "}, {"", "  B "}}},
    {"texts as they are", "line a & b &lt; <c>\n", {{"a & b &lt; <c> "}}},
    {"tables stand before the gathered paragraph", "line a|table|row|cell x|line b", {{"ab"}}},
    {"cut in a paragraph",
     "line aaaaaaaa\xE6|line \xBC\xA2"
     "bbbbbbb",
     {{"aaaaaaaa漢bbbbbbb"}}},
    {"cut at a paragraph break",
     "line aaaaaaaa\xE6\xBC|line \xA2"
     "b   c\n",
     {{"aaaaaaaa漢", "b   c "}}},
    {"cut at the end of a page",
     "line a\xF0\x9F|end|start|line \x98\x80"
     "b\n",
     {{"a"}, {"😀b "}}},
    {"cut before an empty page",
     "line a\xF0|end|start|end|start|line \x9F\x98\x80"
     "b\n",
     {{"a"}, {""}, {"😀b "}}},
    {"cut and not completed", "line a\xE6|line b\n", {{"a\uFFFDb "}}},
    {"cut and not completed on the next page",
     "line a\xE6|end|start|line b\n",
     {{"a"}, {"\uFFFDb "}}},
    {"cut at the end", "line   A\n|line b\xE6\xBC", {{"", "  A b\uFFFD"}}},
    {"cut at the end, a page ago", "line b\xE6\xBC|end|start", {{"b\uFFFD"}, {""}}},
};

TEST(LineRules, GatherParagraphsOnPages) {
  for (const PageCase& row : kPageCases) {
    SCOPED_TRACE(row.name);
    Book book;
    EXPECT_EQ(book.Run("start|" + row.script), 0);
    EXPECT_EQ(book.Run("end|generate book.epub"), 0);
    std::vector<std::vector<std::string>> pages;
    for (size_t n = 1; n <= row.pages.size(); ++n)
      pages.push_back(book.Paragraphs(static_cast<int>(n)));
    EXPECT_EQ(pages, row.pages);
    if (row.script.find("table") == std::string::npos) continue;
    const std::string page = book.Content("OEBPS/page-1.html");
    EXPECT_LT(page.find("<td>x</td></tr></table>"), page.find("<p ")) << page;
  }
}

}  // namespace
