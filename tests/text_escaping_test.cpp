// Replacing of a pattern from the end, and decoding of reserved characters' escapes.
#include <gtest/gtest.h>

#include <string>

#include "xml/xml_base.h"

namespace {

struct Replacement {
  const char* name;
  std::string text;
  const char* pattern;
  int length;
  const char* replacement;
  std::string expected;
};

class ReplaceString : public testing::TestWithParam<Replacement> {};

TEST_P(ReplaceString, WorksFromTheEnd) {
  std::string text = GetParam().text;
  std::string& result =
      XMLBase::ReplaceString(text, GetParam().pattern, GetParam().length, GetParam().replacement);
  EXPECT_EQ(&result, &text);
  EXPECT_EQ(text, GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Table, ReplaceString,
    testing::Values(Replacement{"PairsAreTakenFromTheEnd", "aaaa", "aa", 2, "b", "bb"},
                    Replacement{"OddPairsLeaveTheFirst", "aaa", "aa", 2, "b", "ab"},
                    Replacement{"InsertedTextIsNotSearched", "aaaa", "a", 1, "aa", "aaaaaaaa"},
                    Replacement{"OccurrencesRunIntoInsertedText", "aab", "ab", 2, "b", "b"},
                    Replacement{"NothingFound", "abc", "x", 1, "y", "abc"},
                    Replacement{"EmptyText", "", "x", 1, "y", ""},
                    Replacement{"Removal", "a-b-c", "-", 1, "", "abc"},
                    Replacement{"ShorterLength", "xabx", "ab", 1, "_", "x_bx"},
                    Replacement{"LongerLength", "ab123", "ab", 4, "_", "_3"},
                    Replacement{"LengthBeyondTheEnd", "zab", "ab", 9, "_", "z_"},
                    Replacement{"LengthOfNone", "ab", "b", 0, "_", "a_b"},
                    Replacement{"EmptyPattern", "ab", "", 0, "_", "_a_b_"},
                    Replacement{"SelfOverlap", "abababa", "aba", 3, "x", "xbx"}),
    [](const auto& row) { return row.param.name; });

// The same by the definition, with the standard library.
std::string ReplacedByDefinition(std::string text, const std::string& pattern, size_t length,
                                 const std::string& replacement) {
  for (size_t at = text.rfind(pattern); at != std::string::npos;
       at = at == 0 ? std::string::npos : text.rfind(pattern, at - 1)) {
    text.replace(at, length, replacement);
  }
  return text;
}

TEST(ReplaceStringByDefinition, AgreesOnAllShortTexts) {
  const char* const patterns[] = {"a", "ab", "aa", "aab", "aba", "bab"};
  const char* const replacements[] = {"", "a", "b", "ab", "ba", "aab"};
  for (unsigned bits = 0; bits < 512; ++bits) {
    std::string text;
    for (unsigned i = 0; i < 9; ++i) text += (bits >> i & 1U) != 0 ? 'a' : 'b';
    for (const std::string pattern : patterns) {
      for (const std::string replacement : replacements) {
        for (const size_t length : {size_t{1}, pattern.size(), size_t{4}}) {
          std::string replaced = text;
          XMLBase::ReplaceString(replaced, pattern.c_str(), static_cast<int>(length),
                                 replacement.c_str());
          ASSERT_EQ(replaced, ReplacedByDefinition(text, pattern, length, replacement))
              << text << " " << pattern << " " << replacement << " " << length;
        }
      }
    }
  }
}

struct Escapes {
  const char* name;
  std::string text;
  std::string expected;
};

class PercentEncoding : public testing::TestWithParam<Escapes> {};

TEST_P(PercentEncoding, DecodesReservedCharacters) {
  std::string text = GetParam().text;
  EXPECT_EQ(&XMLBase::PercentEncoding(text), &text);
  EXPECT_EQ(text, GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Table, PercentEncoding,
    testing::Values(Escapes{"All", "%20%21%23%24%26%27%28%29%2A%2B%2C%2F%3A%3B%3D%3F%40%5B%5D",
                            " !#$&'()*+,/:;=?@[]"},
                    Escapes{"LowerCase", "%2a%2b%2c%2f%3a%3b%3d%3f%5b%5d", "*+,/:;=?[]"},
                    Escapes{"OthersStay", "%22%25%2D%2E%3C%3E%41%5C%C3%A9%00",
                            "%22%25%2D%2E%3C%3E%41%5C%C3%A9%00"},
                    Escapes{"BlankAndDot", "My%20File%2Ehtml", "My File%2Ehtml"},
                    Escapes{"EscapedPercent", "%2520", "%2520"},
                    Escapes{"Unfinished", "a%2", "a%2"}, Escapes{"LonePercent", "100%", "100%"},
                    Escapes{"PercentBeforeEscape", "%%20", "% "},
                    Escapes{"NothingNewArises", "%2%30", "%2%30"}, Escapes{"Empty", "", ""}),
    [](const auto& row) { return row.param.name; });

}  // namespace
