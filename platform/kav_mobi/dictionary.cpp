// The headwords of a dictionary, which stand in an index beside the text and often only there.
#include <algorithm>

#include "encoding.h"
#include "markup.h"

namespace kav_mobi {
namespace {

constexpr Bytes kHeadwordTag = "idx:orth";
constexpr Bytes kHeadwordAttribute = "value";
// How far into an entry its own headword is looked for.
constexpr size_t kEntryReach = 1024;

std::string decoded(Bytes raw, uint32_t codePage) {
  std::string text;
  TextDecoder(isUtf8(raw) ? uint32_t{MOBI_UTF8} : codePage).append(raw, text);
  return text;
}

void addFromIndex(const Book& book, size_t textSize, std::vector<Headword>& words) {
  const MOBIIndx* index = book.raw()->orth;
  for (size_t i = 0; index != nullptr && i < index->entries_count; ++i) {
    const MOBIIndexEntry& entry = index->entries[i];
    const uint32_t position = mobi_get_orth_entry_offset(&entry);
    if (entry.label == nullptr || *entry.label == '\0' || position >= textSize) continue;
    words.push_back({position, decoded(entry.label, book.codePage())});
  }
}

void addFromText(const Book& book, Bytes text, std::vector<Headword>& words) {
  Attributes attributes;
  Tag tag;
  for (TagScanner scanner(text); scanner.next(tag);) {
    if (tag.kind != TagKind::kStart || !sameName(tag.name, kHeadwordTag)) continue;
    attributes.read(tag.attributes);
    const Bytes word = attributes.get(kHeadwordAttribute);
    if (!word.empty()) words.push_back({tag.begin, decoded(word, book.codePage())});
  }
}

// Whether the entry at headword.position shows its headword by itself.
bool isVisible(const Headword& headword, Bytes text, uint32_t codePage) {
  const Bytes entry = text.substr(headword.position, kEntryReach);
  std::string visible;
  Tag tag;
  size_t textBegin = 0;
  for (TagScanner scanner(entry); scanner.next(tag); textBegin = tag.end) {
    visible += entry.substr(textBegin, tag.begin - textBegin);
  }
  visible += entry.substr(textBegin);
  return decoded(visible, codePage).find(headword.word) != std::string::npos;
}

}  // namespace

std::vector<Headword> headwordsOf(const Book& book, Bytes text) {
  std::vector<Headword> words;
  if (!mobi_is_dictionary(book.data())) return words;
  addFromIndex(book, text.size(), words);
  addFromText(book, text, words);
  std::stable_sort(words.begin(), words.end(),
                   [](const Headword& a, const Headword& b) { return a.position < b.position; });
  // An entry that shows one of its words needs no other: the rest are its spellings and
  // inflections.
  std::vector<Headword> missing;
  for (auto first = words.begin(); first != words.end();) {
    const auto last = std::find_if(first, words.end(), [first](const Headword& word) {
      return word.position != first->position;
    });
    const bool shown = std::any_of(
        first, last, [&](const Headword& word) { return isVisible(word, text, book.codePage()); });
    if (!shown) missing.push_back(*first);
    first = last;
  }
  return missing;
}

}  // namespace kav_mobi
