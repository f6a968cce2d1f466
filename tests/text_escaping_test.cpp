// Replacing of a pattern from the end, and decoding of reserved characters' escapes.
#include <gtest/gtest.h>

#include "data_rows.h"
#include "xml/xml_base.h"

namespace {

// What the definition says, with the standard library.
std::string ReplacedByDefinition(std::string text, const std::string& pattern, size_t length,
                                 const std::string& replacement) {
  for (size_t at = text.rfind(pattern); at != std::string::npos;
       at = at == 0 ? std::string::npos : text.rfind(pattern, at - 1)) {
    text.replace(at, length, replacement);
  }
  return text;
}

TEST(ReplaceString, AgreesWithTheDefinitionOnAllShortTexts) {
  for (unsigned bits = 1; bits < 512; ++bits) {
    std::string text;
    for (unsigned left = bits; left > 1; left >>= 1U) text += (left & 1U) != 0 ? 'a' : 'b';
    for (const std::string pattern : {"", "a", "ab", "aa", "aab", "aba", "bab"}) {
      for (const std::string replacement : {"", "a", "b", "ab", "ba", "aab"}) {
        for (const size_t length : {size_t{0}, size_t{1}, pattern.size(), size_t{4}}) {
          std::string replaced = text;
          const std::string& result = XMLBase::ReplaceString(
              replaced, pattern.c_str(), static_cast<int>(length), replacement.c_str());
          ASSERT_EQ(&result, &replaced);
          ASSERT_EQ(replaced, ReplacedByDefinition(text, pattern, length, replacement))
              << text << " " << pattern << " " << replacement << " " << length;
        }
      }
    }
  }
}

TEST(PercentEncoding, DecodesReservedCharacters) {
  for (const auto& row : DataRows("percent_escapes.txt", 3)) {
    std::string text = row[1];
    EXPECT_EQ(&XMLBase::PercentEncoding(text), &text);
    EXPECT_EQ(text, row[2]) << row[0];
  }
}

}  // namespace
