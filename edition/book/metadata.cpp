// What metadata can be in a book.
#include "edition/book/metadata.h"

#include <algorithm>
#include <charconv>
#include <chrono>

#include "base/text_gate.h"

namespace {

constexpr char kUntitled[] = "Untitled";
constexpr char kUndetermined[] = "und";  // ISO 639-2

constexpr size_t kLongestSubtag = 8;

constexpr std::string Metadata::*kTexts[] = {
    &Metadata::title,       &Metadata::language, &Metadata::publisher, &Metadata::date,
    &Metadata::description, &Metadata::rights,   &Metadata::series,    &Metadata::seriesIndex};

bool IsBlank(char letter) {
  return letter == ' ' || letter == '\t' || letter == '\n' || letter == '\r';
}

bool IsLetter(char letter) {
  return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z');
}

bool IsDigit(char letter) {
  return letter >= '0' && letter <= '9';
}

// Zero of what is no number.
int NumberOf(std::string_view digits) {
  int number = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), number);
  return std::all_of(digits.begin(), digits.end(), IsDigit) ? number : 0;
}

bool IsSubtag(std::string_view tag) {
  return !tag.empty() && tag.size() <= kLongestSubtag &&
         std::all_of(tag.begin(), tag.end(),
                     [](char letter) { return IsLetter(letter) || IsDigit(letter); });
}

}  // namespace

Metadata Merged(Metadata found, const Metadata& wanted) {
  for (const auto text : kTexts) {
    if (!(wanted.*text).empty()) found.*text = wanted.*text;
  }
  for (const Contributor& contributor : wanted.contributors) {
    std::erase_if(found.contributors,
                  [&](const Contributor& other) { return other.role == contributor.role; });
  }
  found.contributors.insert(found.contributors.end(), wanted.contributors.begin(),
                            wanted.contributors.end());
  for (const Identifier& identifier : wanted.identifiers) {
    std::erase_if(found.identifiers,
                  [&](const Identifier& other) { return other.scheme == identifier.scheme; });
  }
  found.identifiers.insert(found.identifiers.end(), wanted.identifiers.begin(),
                           wanted.identifiers.end());
  if (!wanted.subjects.empty()) found.subjects = wanted.subjects;
  return found;
}

Metadata Cleaned(Metadata metadata) {
  for (const auto text : kTexts) metadata.*text = OneLine(metadata.*text);
  for (Contributor& contributor : metadata.contributors) {
    for (std::string* text : {&contributor.name, &contributor.fileAs, &contributor.role}) {
      *text = OneLine(*text);
    }
  }
  for (std::string& subject : metadata.subjects) subject = OneLine(subject);
  for (Identifier& other : metadata.identifiers) {
    other = {OneLine(other.scheme), OneLine(other.value)};
  }
  std::erase_if(metadata.contributors, [](const Contributor& one) { return one.name.empty(); });
  std::erase_if(metadata.identifiers, [](const Identifier& one) { return one.value.empty(); });
  if (metadata.title.empty()) metadata.title = kUntitled;
  if (!IsLanguageTag(metadata.language)) metadata.language = kUndetermined;
  if (!IsDate(metadata.date)) metadata.date.clear();
  return metadata;
}

std::string OneLine(std::string_view text) {
  std::string line;
  for (const char letter : ToXmlCharacters(text)) {
    if (!IsBlank(letter)) {
      line += letter;
    } else if (!line.empty() && line.back() != ' ') {
      line += ' ';
    }
  }
  if (line.ends_with(' ')) line.pop_back();
  return line;
}

bool IsDate(std::string_view text) {
  if (text.size() != 4 && text.size() != 7 && text.size() != 10) return false;
  for (size_t at = 4; at < text.size(); at += 3) {
    if (text[at] != '-') return false;
  }
  const int year = NumberOf(text.substr(0, 4));
  const int month = text.size() > 4 ? NumberOf(text.substr(5, 2)) : 1;
  const int day = text.size() > 7 ? NumberOf(text.substr(8)) : 1;
  return year >= 1 && (std::chrono::year(year) / month / day).ok();
}

bool IsLanguageTag(std::string_view text) {
  const std::string_view primary = text.substr(0, text.find('-'));
  if (primary.size() < 2 || !IsSubtag(primary) ||
      !std::all_of(primary.begin(), primary.end(), IsLetter)) {
    return false;
  }
  while (text.find('-') != std::string_view::npos) {
    text.remove_prefix(text.find('-') + 1);
    if (!IsSubtag(text.substr(0, text.find('-')))) return false;
  }
  return true;
}
