// Headwords from the index and from the text.
#include "base/mobi/dictionary.h"

#include <algorithm>

#include "base/mobi/encoding.h"
#include "base/mobi/escaping.h"
#include "base/mobi/tags.h"

namespace kav_mobi {
namespace {

constexpr Bytes kHeadwordTag = "idx:orth";
constexpr Bytes kHeadwordAttribute = "value";
// An entry that shows its headword does so in its first words: this far into its text, and into the
// markup around that.
constexpr size_t kTextReach = 40;
constexpr size_t kMarkupReach = 1024;

bool IsAsciiWordByte(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

std::string ToMarkup(Bytes raw, TextKind kind, uint32_t codePage) {
  std::string text;
  TextDecoder(IsUtf8(raw) ? uint32_t{MOBI_UTF8} : codePage).Append(raw, text);
  std::string markup;
  AppendEscaped(text, kind, kSpecialInText, markup);
  return markup;
}

void AddFromIndex(const Book& book, size_t textSize, std::vector<Headword>& words) {
  const MOBIIndx* index = book.Raw()->orth;
  for (size_t i = 0; index != nullptr && i < index->entries_count; ++i) {
    const MOBIIndexEntry& entry = index->entries[i];
    const uint32_t position = mobi_get_orth_entry_offset(&entry);
    if (entry.label == nullptr || *entry.label == '\0' || position >= textSize) continue;
    words.push_back({position, ToMarkup(entry.label, TextKind::kPlain, book.CodePage())});
  }
}

void AddFromText(const Book& book, Bytes text, std::vector<Headword>& words) {
  Attributes attributes;
  Tag tag;
  for (TagScanner scanner(text); scanner.Next(tag);) {
    if (tag.kind != TagKind::kStart || !SameName(tag.name, kHeadwordTag)) continue;
    attributes.Read(tag.attributes);
    const Bytes word = attributes.Get(kHeadwordAttribute);
    if (word.empty()) continue;
    words.push_back({tag.begin, ToMarkup(word, TextKind::kMarkup, book.CodePage())});
  }
}

// What the first bytes of an entry show.
std::string VisibleText(Bytes entry, uint32_t codePage) {
  entry = entry.substr(0, kMarkupReach);
  std::string visible;
  Tag tag;
  size_t textBegin = 0;
  for (TagScanner scanner(entry); scanner.Next(tag); textBegin = tag.end) {
    visible += entry.substr(textBegin, tag.begin - textBegin);
  }
  visible += entry.substr(textBegin);
  const size_t first = std::min(visible.find_first_not_of(" \t\r\n"), visible.size());
  return ToMarkup(Bytes(visible).substr(first), TextKind::kMarkup, codePage);
}

bool Shows(const std::string& visible, const std::string& word) {
  for (size_t at = visible.find(word); at < kTextReach; at = visible.find(word, at + 1)) {
    const size_t end = at + word.size();
    const bool begins = at == 0 || !IsAsciiWordByte(visible[at - 1]);
    if (begins && (end == visible.size() || !IsAsciiWordByte(visible[end]))) return true;
  }
  return false;
}

}  // namespace

std::vector<Headword> HeadwordsOf(const Book& book, Bytes text) {
  std::vector<Headword> words;
  if (!mobi_is_dictionary(book.Data())) return words;
  AddFromIndex(book, text.size(), words);
  AddFromText(book, text, words);
  std::stable_sort(words.begin(), words.end(),
                   [](const Headword& a, const Headword& b) { return a.position < b.position; });
  // An entry that shows one of its words needs no other: the rest are its spellings and
  // inflections.
  std::vector<Headword> missing;
  for (auto first = words.begin(); first != words.end();) {
    const auto last = std::find_if(first, words.end(), [first](const Headword& word) {
      return word.position != first->position;
    });
    const size_t end = last == words.end() ? text.size() : last->position;
    const std::string visible =
        VisibleText(text.substr(first->position, end - first->position), book.CodePage());
    const bool shown = std::any_of(
        first, last, [&visible](const Headword& word) { return Shows(visible, word.markup); });
    if (!shown) missing.push_back(*first);
    first = last;
  }
  return missing;
}

}  // namespace kav_mobi
