// Reads the numbers of index entries, and their texts from the records behind the index.
#include "edition/mobi/indices.h"

#include <algorithm>
#include <utility>

#include "base/mobi/bytes.h"
#include "base/mobi/encoding.h"
#include "edition/book/metadata.h"
#include "edition/mobi/start_tag.h"
#include "edition/page/page_tree.h"

namespace {

constexpr size_t kMostLevels = 8;
constexpr size_t kNoEntry = SIZE_MAX;

// Numbers of an entry by their meaning.
enum EntryTag : size_t { kOffset = 1, kTitle = 3, kLevel = 4, kPosition = 6, kParent = 21 };
constexpr size_t kGuideFragment = 3;

constexpr size_t kTextRecordSize = 0x10000;  // of the numbers that lead into these records

std::optional<size_t> ValueOf(const MOBIIndexEntry& entry, size_t tag, size_t number = 0) {
  for (size_t i = 0; i < entry.tags_count; ++i) {
    const MOBIIndexTag& found = entry.tags[i];
    if (found.tagid == tag && number < found.tagvalues_count) return found.tagvalues[number];
  }
  return std::nullopt;
}

// A text in the records behind an index: its length in groups of seven bits, then its bytes.
std::string TextAt(const MOBIIndx& index, size_t offset, const kav_mobi::Book& book) {
  const MOBIPdbRecord* record = index.cncx_record;
  for (size_t i = offset / kTextRecordSize; i > 0 && record != nullptr; --i) record = record->next;
  if (record == nullptr || record->data == nullptr ||
      offset / kTextRecordSize >= index.cncx_records_count) {
    return {};
  }
  std::string_view bytes(reinterpret_cast<const char*>(record->data), record->size);
  bytes.remove_prefix(std::min(offset % kTextRecordSize, bytes.size()));
  constexpr size_t kMostGroups = 4;
  size_t length = 0;
  for (size_t i = 0; i < kMostGroups; ++i) {
    const auto group = static_cast<size_t>(kav_mobi::ByteAt(bytes, i));
    length = length << 7 | (group & 0x7F);
    if ((group & 0x80) == 0) continue;
    bytes.remove_prefix(std::min(i + 1, bytes.size()));
    std::string text;
    kav_mobi::TextDecoder(index.encoding == MOBI_CP1252 ? book.CodePage() : uint32_t{MOBI_UTF8})
        .Append(bytes.substr(0, length), text);
    return OneLine(text);
  }
  return {};
}

std::optional<size_t> PositionOf(const MOBIIndexEntry& entry, const BookText& text) {
  if (!text.IsNew()) return ValueOf(entry, kOffset);
  const std::optional<size_t> fragment = ValueOf(entry, kPosition);
  if (!fragment) return std::nullopt;
  return text.PositionOf(*fragment, ValueOf(entry, kPosition, 1).value_or(0));
}

struct Node {
  IndexEntry entry;
  std::vector<size_t> children;
  size_t parent = kNoEntry;
};

// In the index, all entries of a level stand together, those of one above before it.
void AddTree(std::vector<Node>& nodes, size_t top, size_t level, std::vector<IndexEntry>& entries) {
  Node& node = nodes[top];
  node.entry.level = level;
  if (!node.entry.title.empty()) entries.push_back(std::move(node.entry));
  for (const size_t child : node.children) {
    AddTree(nodes, child, std::min(level + 1, kMostLevels), entries);
  }
}

}  // namespace

std::vector<IndexEntry> ContentsIndex(const BookText& text) {
  const MOBIRawml* raw = text.Book().Raw();
  const MOBIIndx* index = raw == nullptr ? nullptr : raw->ncx;
  if (index == nullptr) return {};
  std::vector<Node> nodes(index->entries_count);
  for (size_t i = 0; i < nodes.size(); ++i) {
    const MOBIIndexEntry& found = index->entries[i];
    const std::optional<size_t> position = PositionOf(found, text);
    const std::optional<size_t> title = ValueOf(found, kTitle);
    if (position && *position <= text.Size() && title) {
      nodes[i].entry = {TextAt(*index, *title, text.Book()), *position,
                        std::min(ValueOf(found, kLevel).value_or(0), kMostLevels)};
    }
    // Those above come first, so that there is no circle.
    const size_t parent = ValueOf(found, kParent).value_or(kNoEntry);
    const bool isBelow = parent < i && nodes[parent].entry.level < nodes[i].entry.level;
    if (isBelow) {
      nodes[i].parent = parent;
      nodes[parent].children.push_back(i);
    }
  }
  std::vector<IndexEntry> entries;
  const bool isTree = std::any_of(nodes.begin(), nodes.end(),
                                  [](const Node& node) { return node.parent != kNoEntry; });
  for (size_t i = 0; i < nodes.size(); ++i) {
    if (nodes[i].parent != kNoEntry) continue;
    AddTree(nodes, i, isTree ? 0 : nodes[i].entry.level, entries);
  }
  return entries;
}

std::vector<IndexEntry> LinksBetween(const BookText& text, size_t begin, size_t end) {
  const std::string_view bytes = text.From(begin).substr(0, end - begin);
  kav_mobi::TextDecoder decoder(text.Book().CodePage());
  std::vector<IndexEntry> links;
  kav_mobi::Attributes attributes;
  kav_mobi::Tag tag;
  std::string title;
  std::optional<size_t> position;
  size_t lists = 0;
  size_t textBegin = 0;
  for (kav_mobi::TagScanner scanner(bytes); scanner.Next(tag); textBegin = tag.end) {
    if (position) decoder.Append(bytes.substr(textBegin, tag.begin - textBegin), title);
    if (tag.kind == kav_mobi::TagKind::kSkipped || tag.element == nullptr) continue;
    const bool isStart = tag.kind == kav_mobi::TagKind::kStart;
    const bool isList = tag.element->role == kav_mobi::Role::kContainer ||
                        tag.element->name == std::string_view("blockquote");
    if (isList && isStart) ++lists;
    if (isList && !isStart && lists > 0) --lists;
    if (tag.element->name != std::string_view("a")) continue;
    title = OneLine(TextOf(PageTree(std::exchange(title, {})).Root()));
    if (position && !title.empty()) {
      links.push_back({std::move(title), *position, std::min(lists, kMostLevels)});
    }
    attributes.Read(tag.attributes);
    position = isStart ? text.PositionOf(LinkReferenceOf(attributes, text.IsNew())) : std::nullopt;
  }
  std::vector<size_t> above;
  for (IndexEntry& link : links) {
    while (!above.empty() && above.back() >= link.level) above.pop_back();
    above.push_back(std::exchange(link.level, above.size()));
  }
  return links;
}

namespace {

// In the head of an old book.
void ReadOldGuide(const BookText& text, Guide& guide) {
  constexpr size_t kReach = 1 << 16;
  std::string_view head = text.From(0).substr(0, kReach);
  const size_t begin = head.find("<guide");
  if (begin == std::string_view::npos) return;
  head = head.substr(begin, head.find("</guide", begin) - begin);
  kav_mobi::Attributes attributes;
  kav_mobi::Tag tag;
  for (kav_mobi::TagScanner scanner(head); scanner.Next(tag);) {
    if (tag.kind != kav_mobi::TagKind::kStart || tag.name != "reference") continue;
    attributes.Read(tag.attributes);
    const std::optional<size_t> position = DecimalOf(attributes.Get("filepos"));
    if (!position || *position > text.Size()) continue;
    const std::string_view type = attributes.Get("type");
    if (type == "toc") guide.contents = position;
    if (type == "text" || type == "start") guide.start = position;
  }
}

void ReadNewGuide(const BookText& text, Guide& guide) {
  const MOBIIndx* index = text.Book().Raw()->guide;
  for (size_t i = 0; index != nullptr && i < index->entries_count; ++i) {
    const MOBIIndexEntry& entry = index->entries[i];
    const std::optional<size_t> fragment =
        ValueOf(entry, kPosition) ? ValueOf(entry, kPosition) : ValueOf(entry, kGuideFragment);
    if (!fragment || entry.label == nullptr) continue;
    const std::string_view type = entry.label;
    const auto position = text.PositionOf(*fragment, ValueOf(entry, kPosition, 1).value_or(0));
    if (type == "toc") guide.contents = position;
    if (type == "text" || type == "start") guide.start = position;
  }
}

}  // namespace

Guide GuideOf(const BookText& text) {
  Guide guide;
  text.IsNew() ? ReadNewGuide(text, guide) : ReadOldGuide(text, guide);
  const MOBIExthHeader* start = mobi_get_exthrecord_by_tag(text.Book().Data(), EXTH_STARTREADING);
  if (guide.start || start == nullptr || start->data == nullptr || start->size != 4) return guide;
  const size_t number =
      mobi_decode_exthvalue(static_cast<const unsigned char*>(start->data), start->size);
  guide.start = text.IsNew() ? text.PositionOf(number, 0) : std::optional(number);
  if (guide.start && *guide.start > text.Size()) guide.start.reset();
  return guide;
}

std::vector<DictionaryEntry> DictionaryIndex(const BookText& text) {
  const MOBIRawml* raw = text.Book().Raw();
  const MOBIIndx* index = raw == nullptr ? nullptr : raw->orth;
  std::vector<DictionaryEntry> entries;
  for (size_t i = 0; index != nullptr && i < index->entries_count; ++i) {
    const MOBIIndexEntry& found = index->entries[i];
    const uint32_t position = mobi_get_orth_entry_offset(&found);
    if (found.label == nullptr || *found.label == '\0' || position >= text.Size()) continue;
    const std::string_view label = found.label;
    std::string word;
    const bool isUtf8 = kav_mobi::IsUtf8(label);
    kav_mobi::TextDecoder(isUtf8 ? uint32_t{MOBI_UTF8} : text.Book().CodePage())
        .Append(label, word);
    const uint32_t length = mobi_get_orth_entry_length(&found);
    entries.push_back({std::move(word), position, length == MOBI_NOTSET ? 0 : size_t{length}});
  }
  const auto isBefore = [](const DictionaryEntry& one, const DictionaryEntry& other) {
    return one.position < other.position;
  };
  std::stable_sort(entries.begin(), entries.end(), isBefore);
  const auto isSame = [](const DictionaryEntry& one, const DictionaryEntry& other) {
    return one.position == other.position;
  };
  entries.erase(std::unique(entries.begin(), entries.end(), isSame), entries.end());
  return entries;
}
