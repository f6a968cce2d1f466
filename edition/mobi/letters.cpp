// Groups the entries of a dictionary by the letters that their words begin with.
#include "edition/mobi/letters.h"

#include <algorithm>

#include "edition/book/markup.h"
#include "edition/text/characters.h"

namespace {

constexpr size_t kLongPart = 100'000;    // bytes of a part that is no letter
constexpr size_t kBetweenWords = 8'000;  // that the contents name
constexpr size_t kReachOfHeading = 400;  // before the first entry of a letter

// Words in order come back to a letter a few times only, as one with an accent may stand elsewhere.
constexpr size_t kMostReturns = 4;
constexpr size_t kMostLetters = 300;

constexpr char32_t kNoLetter = '#';

constexpr std::string_view kPageBreak = "<mbp:pagebreak";

// Small Latin letters without their accents, from U+00E0 and from U+0100 on.
constexpr std::string_view kLatin1 = "aaaaaaaceeeeiiiidnooooo*ouuuuyty";
constexpr std::string_view kLatinExtended =
    "aaaaaaccccccccddddeeeeeeeeeegggggggghhhhiiiiiiiiiiiijjkkkllllllllllnnnnnnnnnooooooooooorrrrrr"
    "ssssssssttttttuuuuuuuuuuuuwwyyyzzzzzzs";

char32_t WithoutAccent(char32_t letter) {
  const auto from = [&](std::string_view letters, char32_t first) {
    const bool isThere = letter >= first && letter < first + letters.size();
    return isThere ? static_cast<char32_t>(letters[letter - first]) : U'\0';
  };
  const char32_t plain = std::max(from(kLatin1, 0xE0), from(kLatinExtended, 0x100));
  return plain == 0 || plain == '*' ? letter : plain;
}

char32_t FirstLetter(std::string_view word) {
  for (size_t at = 0; at < word.size();) {
    const Character character = CharacterAt(word, at);
    if (IsLetter(character.code)) return Folded(character.code);
    if (IsDigit(character.code)) break;
    at += character.length;
  }
  return kNoLetter;
}

std::string Capital(char32_t letter) {
  constexpr char32_t kDistances[] = {0x20, 0x50, 1};
  for (const char32_t distance : kDistances) {
    if (letter > distance && Folded(letter - distance) == letter) {
      letter -= distance;
      break;
    }
  }
  std::string capital;
  Append(letter, capital);
  return capital;
}

// Entries that follow each other and begin with the same letter.
struct Group {
  char32_t letter;
  char32_t own;  // with the accent that all of them have
  size_t first;
  size_t end;
};

std::vector<Group> GroupsOf(const std::vector<DictionaryEntry>& entries) {
  std::vector<Group> groups;
  for (size_t i = 0; i < entries.size(); ++i) {
    const char32_t own = FirstLetter(entries[i].word);
    const char32_t letter = WithoutAccent(own);
    if (groups.empty() || groups.back().letter != letter) groups.push_back({letter, own, i, i});
    groups.back().end = i + 1;
    if (own != groups.back().own) groups.back().own = letter;
  }
  return groups;
}

bool AreLetters(const std::vector<Group>& groups) {
  std::vector<char32_t> letters;
  for (const Group& group : groups) letters.push_back(group.letter);
  std::sort(letters.begin(), letters.end());
  letters.erase(std::unique(letters.begin(), letters.end()), letters.end());
  return letters.size() <= kMostLetters && groups.size() <= kMostReturns * (letters.size() + 1);
}

std::vector<Group> PartsOf(const std::vector<DictionaryEntry>& entries) {
  std::vector<Group> parts;
  size_t begin = 0;
  for (size_t i = 0; i < entries.size(); ++i) {
    if (i == 0 || entries[i].position - begin >= kLongPart) {
      begin = entries[i].position;
      parts.push_back({kNoLetter, kNoLetter, i, i});
    }
    parts.back().end = i + 1;
  }
  return parts;
}

// Behind the entry before the first one of a group, so that a heading between them is of the group.
size_t BeginOf(const BookText& text, const std::vector<DictionaryEntry>& entries, size_t first,
               bool& hasHeading) {
  const size_t position = entries[first].position;
  size_t begin = position - std::min(position, kReachOfHeading);
  if (first > 0) {
    const DictionaryEntry& before = entries[first - 1];
    begin = std::max(begin, before.position + std::max<size_t>(before.length, 1));
  }
  if (begin >= position) return position;
  std::string_view between = text.From(begin).substr(0, position - begin);
  if (const size_t end = between.rfind(kPageBreak); end != std::string_view::npos) {
    begin += end;
    between.remove_prefix(end);
  }
  for (size_t at = between.rfind("<h"); at != std::string_view::npos && at > 0;
       at = between.rfind("<h", at - 1)) {
    hasHeading = at + 2 < between.size() && between[at + 2] >= '1' && between[at + 2] <= '6';
    if (hasHeading) return begin + at;
  }
  return position;
}

}  // namespace

LetterPlan LettersOf(const BookText& text, const std::vector<DictionaryEntry>& entries) {
  std::vector<Group> groups = GroupsOf(entries);
  const bool areLetters = AreLetters(groups);
  if (!areLetters) groups = PartsOf(entries);
  LetterPlan plan;
  for (const Group& group : groups) {
    const DictionaryEntry& first = entries[group.first];
    const std::string title = areLetters ? Capital(group.own) : first.word;
    bool hasHeading = false;
    const size_t begin = BeginOf(text, entries, group.first, hasHeading);
    plan.cuts.push_back({begin, hasHeading ? std::string() : Escaped(title)});
    plan.contents.push_back({title, begin, 0});
    size_t named = begin;
    for (size_t i = group.first; i < group.end; ++i) {
      if (entries[i].position - named < kBetweenWords) continue;
      named = entries[i].position;
      plan.contents.push_back({entries[i].word, named, 1});
    }
  }
  return plan;
}
