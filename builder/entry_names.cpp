// Gives each file of a book a name of its own.
#include "builder/entry_names.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "base/utf8.h"

namespace {

constexpr size_t kLongestName = 255;  // of common file systems, in bytes

constexpr size_t kLongestNumber = 11;  // with its "-"

constexpr std::string_view kOwnNames[] = {"content.opf", "toc.ncx", "main.css", "cover.html",
                                          "images"};

// Control characters: some readers refuse a whole container for one in a name.
bool IsControl(char c) {
  return (c >= 0 && c < ' ') || c == '\x7F';
}

// "page-" N ".html" is or will be a page of the book.
bool IsPageName(std::string_view name) {
  constexpr std::string_view kBeginning = "page-";
  constexpr std::string_view kEnd = ".html";
  if (!name.starts_with(kBeginning) || !name.ends_with(kEnd)) return false;
  if (name.size() <= kBeginning.size() + kEnd.size()) return false;
  name = name.substr(kBeginning.size(), name.size() - kBeginning.size() - kEnd.size());
  return std::all_of(name.begin(), name.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// Names that differ by the case of ASCII letters only are one in many a file system.
std::string Folded(std::string_view name) {
  std::string folded(name);
  for (char& c : folded) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return folded;
}

bool IsOwnName(std::string_view folded) {
  return std::find(std::begin(kOwnNames), std::end(kOwnNames), folded) != std::end(kOwnNames) ||
         IsPageName(folded);
}

// A name without its extension; both lose characters where a number would make the name too long.
struct Parts {
  std::string stem;
  std::string extension;
};

Parts PartsOf(std::string name) {
  size_t dot = std::min(name.rfind('.'), name.size());
  if (name.size() - dot + kLongestNumber >= kLongestName) {
    name.resize(kLongestName / 2);
    dot = std::min(name.rfind('.'), name.size());
  }
  const std::string extension = name.substr(dot);
  std::string stem =
      name.substr(0, std::min(dot, kLongestName - kLongestNumber - extension.size()));
  if (stem.size() < dot) stem.resize(stem.size() - UnfinishedUtf8Tail(stem));
  return {stem, extension};
}

}  // namespace

void EntryNames::Take(const std::string& name) {
  taken.insert(Folded(name));
}

std::string EntryNames::Claim(const std::string& wanted) {
  std::string name = wanted;
  std::replace_if(name.begin(), name.end(), IsControl, '_');
  if (!IsFree(name)) {
    const auto [stem, extension] = PartsOf(name);
    int& number = lastNumbers.try_emplace(Folded(stem + extension), 1).first->second;
    do {
      name = stem + "-" + std::to_string(++number) + extension;
    } while (!IsFree(name));
  }
  Take(name);
  return name;
}

bool EntryNames::IsFree(const std::string& name) const {
  const std::string folded = Folded(name);
  return !IsOwnName(folded) && taken.count(folded) == 0;
}
