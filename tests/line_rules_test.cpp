// The rules of plain text: which lines begin paragraphs.
#include <gtest/gtest.h>

#include <array>

#include "builder/epub_base.h"
#include "data_rows.h"

namespace {

using Counters = std::array<int, 3>;  // indentation, length of the last line, of the longest

int Decide(const char* line, std::string& text, Counters& counters) {
  return EpubBase().LineProc(line, text, counters[0], counters[1], counters[2]);
}

TEST(LineRules, DecideAndClean) {
  for (const auto& row : DataRows("line_rules.txt", 10)) {
    SCOPED_TRACE(row[0]);
    const auto numbers = [&](size_t at) {
      return Counters{std::stoi(row[at]), std::stoi(row[at + 1]), std::stoi(row[at + 2])};
    };
    Counters counters = numbers(2);
    std::string text = "former";
    EXPECT_EQ(Decide(row[1].c_str(), text, counters), std::stoi(row[5]));
    EXPECT_EQ(text, row[6]);
    EXPECT_EQ(counters, numbers(7));
  }
  Counters counters{2, 3, 4};
  std::string text = "former";
  EXPECT_EQ(Decide(nullptr, text, counters), 407);
  EXPECT_EQ(text, "");
  EXPECT_EQ(counters, (Counters{2, 3, 4}));
}

}  // namespace
