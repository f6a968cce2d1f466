// Which lines of a text are taken for headings. The texts are written down in short: of a line that
// is one the level stands before it, and a filler stands for some paragraphs.
#include <gtest/gtest.h>

#include <map>
#include <sstream>

#include "data_rows.h"
#include "edition/text/chapters.h"
#include "edition/text/numerals.h"

namespace {

TEST(TextNumerals, AreReadFromTheBeginning) {
  for (const auto& row : DataRows("numerals.txt", 3)) {
    const Numeral numeral = ReadNumeral(row[0]);
    EXPECT_EQ(numeral.value, std::stoi(row[1])) << row[0];
    EXPECT_EQ(row[0].substr(numeral.length), row[2]);
  }
}

struct Sample {
  std::string text;
  std::string expected;  // "1 CHAPTER I\n": levels from 1, as they stand in the text
};

// Sentences that fill paragraphs, by the name of the filler.
std::map<std::string, std::string> fillers;

std::string Wrapped(const std::string& sentence, size_t sentences) {
  constexpr size_t kWidth = 70;
  std::istringstream words(Repeated(sentence + " ", sentences));
  std::string lines;
  size_t width = 0;
  for (std::string word; words >> word; width += word.size() + 1) {
    if (width + word.size() > kWidth) {
      lines.back() = '\n';
      width = 0;
    }
    lines += word + " ";
  }
  return lines.substr(0, lines.size() - 1);
}

// "~en 8": eight wrapped paragraphs with blank lines between; "~en= 8": each on a line of its own.
std::string Fill(const std::string& call) {
  std::istringstream words(call);
  std::string name;
  size_t count = 0;
  words >> name >> count;
  const bool isLine = name.back() == '=';
  const std::string sentence = fillers.at(isLine ? name.substr(0, name.size() - 1) : name);
  std::string text;
  for (size_t i = 0; i < count; ++i) {
    const size_t sentences = 3 + (i * 7 + count) % 5;
    text += isLine ? Repeated(sentence, sentences) + "\n" : Wrapped(sentence, sentences) + "\n\n";
  }
  return text;
}

std::map<std::string, Sample> Samples() {
  std::map<std::string, Sample> samples;
  Sample* sample = nullptr;
  std::ifstream lines(KAV_TEST_DATA "/data/text_headings.txt");
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("== ")) {
      sample = &samples[line.substr(3)];
    } else if (sample == nullptr && line.starts_with("#")) {
      continue;
    } else if (line.starts_with("%")) {
      const size_t name = line.find(' ');
      fillers[line.substr(1, name - 1)] = line.substr(name + 1);
    } else if (line.starts_with("~")) {
      sample->text += Fill(line.substr(1));
    } else if (line.starts_with("!")) {
      const size_t begin = line.find_first_not_of(' ', 2);
      sample->expected += line.substr(1, 1) + " " + line.substr(begin) + "\n";
      sample->text += line.substr(2) + "\n";
    } else {
      sample->text += line + "\n";
    }
  }
  return samples;
}

std::string HeadingsOf(const std::string& text) {
  Survey survey;
  constexpr size_t kPiece = 1000;
  for (size_t i = 0; i < text.size(); i += kPiece)
    survey.Feed(std::string_view(text).substr(i, kPiece));
  const Structure structure = FindChapters(survey.Finish());
  std::vector<std::string> lines = Split(text, '\n');
  std::string found;
  for (const Heading& heading : structure.headings) {
    if (!heading.isInContents) continue;
    const std::string& line = lines.at(heading.line);
    found +=
        std::to_string(heading.level + 1) + " " + line.substr(line.find_first_not_of(' ')) + "\n";
  }
  return found;
}

TEST(TextHeadings, AreThoseThatAPersonSees) {
  const auto samples = Samples();
  ASSERT_GT(samples.size(), 50U);
  for (const auto& [name, sample] : samples)
    EXPECT_EQ(HeadingsOf(sample.text), sample.expected) << name;
}

}  // namespace
