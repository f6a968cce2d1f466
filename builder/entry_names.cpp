// Gives each file of a book a name of its own.
#include "builder/entry_names.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "platform/utf8.h"

namespace {

constexpr size_t kLongestName = 255;  // of common file systems, in bytes

constexpr std::string_view kOwnNames[] = {"content.opf", "toc.ncx", "main.css", "cover.html",
                                          "images"};

// "page-" N ".html" is or will be a page of the book.
bool IsPageName(std::string_view name) {
  constexpr std::string_view kBeginning = "page-";
  constexpr std::string_view kEnd = ".html";
  if (!name.starts_with(kBeginning) || !name.ends_with(kEnd)) return false;
  if (name.size() <= kBeginning.size() + kEnd.size()) return false;
  name = name.substr(kBeginning.size(), name.size() - kBeginning.size() - kEnd.size());
  return std::all_of(name.begin(), name.end(), [](char c) { return c >= '0' && c <= '9'; });
}

bool IsOwnName(std::string_view name) {
  return std::find(std::begin(kOwnNames), std::end(kOwnNames), name) != std::end(kOwnNames) ||
         IsPageName(name);
}

// The name with "-" and a number before its extension; a name that gets too long loses characters
// before them.
std::string Numbered(const std::string& name, int number) {
  const size_t dot = std::min(name.rfind('.'), name.size());
  std::string ending = "-";
  ending += std::to_string(number);
  ending += name.substr(dot);
  if (ending.size() >= kLongestName) return Numbered(name.substr(0, kLongestName / 2), number);
  std::string stem = name.substr(0, std::min(dot, kLongestName - ending.size()));
  if (stem.size() < dot) stem.resize(stem.size() - UnfinishedUtf8Tail(stem));
  return stem + ending;
}

}  // namespace

void EntryNames::Take(const std::string& name) {
  taken.insert(name);
}

std::string EntryNames::Claim(const std::string& wanted) {
  std::string name = wanted;
  if (IsOwnName(name) || taken.count(name) != 0) {
    int& number = lastNumbers.try_emplace(wanted, 1).first->second;
    do {
      name = Numbered(wanted, ++number);
    } while (IsOwnName(name) || taken.count(name) != 0);
  }
  taken.insert(name);
  return name;
}
