// Changes inputs at random places, from a generator that always begins alike.
#include "fuzz/mutations.h"

#include <algorithm>
#include <fstream>

namespace {

constexpr size_t kMostChanges = 5;
constexpr size_t kLongestPiece = 64;

char Unhexed(const std::string& digits) {
  return static_cast<char>(std::stoi(digits, nullptr, 16));
}

}  // namespace

std::vector<std::string> DictionaryWords(const std::string& path) {
  std::vector<std::string> words;
  std::ifstream lines(path);
  for (std::string line; std::getline(lines, line);) {
    const size_t begin = line.find('"');
    if (line.starts_with('#') || begin == std::string::npos) continue;
    std::string word;
    for (size_t at = begin + 1; at + 1 < line.size(); ++at) {
      if (line[at] == '\\' && line[++at] == 'x') {
        word += Unhexed(line.substr(at + 1, 2));
        at += 2;
      } else {
        word += line[at];
      }
    }
    words.push_back(word);
  }
  return words;
}

std::string Mutations::Next() {
  std::string text = seeds.at(Below(seeds.size()));
  for (size_t changes = 1 + Below(kMostChanges); changes > 0; --changes) Change(text);
  return text;
}

std::string Mutations::PieceOf(const std::string& text) {
  return text.substr(Below(text.size()), 1 + Below(kLongestPiece));
}

void Mutations::Change(std::string& text) {
  const size_t at = Below(text.size() + 1);
  switch (Below(8)) {
    case 0:
      if (at < text.size()) text[at] = static_cast<char>(text[at] ^ 1 << Below(8));
      break;
    case 1:
      if (at < text.size()) text[at] = static_cast<char>(random());
      break;
    case 2:
      text.insert(at, 1, static_cast<char>(random()));
      break;
    case 3:
      text.erase(at, 1 + Below(kLongestPiece));
      break;
    case 4:
      text.insert(at, PieceOf(text));
      break;
    case 5:
      text.insert(at, PieceOf(seeds[Below(seeds.size())]));
      break;
    case 6:
      if (Below(4) == 0) text.resize(at);
      break;
    default:
      if (!words.empty()) text.insert(at, words[Below(words.size())]);
  }
}
