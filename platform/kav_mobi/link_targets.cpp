// Collecting links and finding places for their targets: three passes over the tags.
#include "platform/kav_mobi/link_targets.h"

#include <algorithm>

#include "base/utf8.h"

namespace kav_mobi {
namespace {

constexpr size_t kLongestReference = 10;

bool IsLink(const Tag& tag) {
  return tag.kind == TagKind::kStart && tag.element != nullptr && tag.element->name == "a";
}

// The byte from `at` back that begins a character or a character reference of text.
size_t CharacterStart(Bytes text, size_t at, bool wholeCharacters) {
  const size_t reach = at - std::min(at, kLongestReference);
  const size_t reference = text.substr(reach, at - reach).rfind('&');
  if (reference != Bytes::npos) {
    const Bytes between = text.substr(reach + reference, at - reach - reference);
    if (between.find_first_of("; \t\r\n<>") == Bytes::npos) return reach + reference;
  }
  if (!wholeCharacters) return at;
  for (size_t back = 1; back < 4 && back <= at; ++back) {
    const Utf8Unit unit = DecodeUtf8(text.substr(at - back));
    if (unit.kind == Utf8Unit::Kind::kCharacter) return unit.length > back ? at - back : at;
  }
  return at;
}

enum class Meeting : uint8_t { kPass, kBefore, kAfter };

// Where a target that meets this tag is marked: blocks have it as their first content, so that it
// survives whatever becomes of the block itself. Other elements have it before their first text.
Meeting MeetingOf(const Tag& tag) {
  if (tag.kind != TagKind::kStart || tag.element == nullptr) return Meeting::kPass;
  switch (tag.element->role) {
    case Role::kPicture:
    case Role::kRule:
    case Role::kBreak:
      return Meeting::kBefore;
    case Role::kBlock:
    case Role::kParagraph:
      return tag.selfClosing ? Meeting::kPass : Meeting::kAfter;
    case Role::kItem:
      return tag.selfClosing || !tag.element->implied.empty() ? Meeting::kPass : Meeting::kAfter;
    default:
      return Meeting::kPass;
  }
}

// Hands places to targets in the order of their positions, while the text goes by.
class Placing {
 public:
  Placing(Bytes bookText, bool isUtf8, std::vector<Target>& toPlace)
      : text(bookText), wholeCharacters(isUtf8), targets(toPlace) {}

  void PassText(size_t begin, size_t end) {
    const Bytes run = text.substr(begin, end - begin);
    const size_t visible = run.find_first_not_of(kBlanks);
    if (visible == Bytes::npos) return;
    const size_t lastVisible = begin + run.find_last_not_of(kBlanks);
    PlaceUpTo(begin, begin);
    while (next < targets.size() && targets[next].position <= lastVisible) {
      const size_t at = targets[next].position;
      targets[next++].place = std::max(begin, CharacterStart(text, at, wholeCharacters));
    }
  }

  void PassTag(const Tag& tag) {
    const Meeting meeting = MeetingOf(tag);
    if (meeting == Meeting::kPass) return;
    PlaceUpTo(tag.end - 1, meeting == Meeting::kBefore ? tag.begin : tag.end);
  }

  void Finish() { PlaceUpTo(Bytes::npos, text.size()); }

 private:
  void PlaceUpTo(size_t position, size_t place) {
    while (next < targets.size() && targets[next].position <= position) {
      targets[next++].place = place;
    }
  }

  Bytes text;
  bool wholeCharacters;
  std::vector<Target>& targets;
  size_t next = 0;
};

void SortUnique(std::vector<size_t>& list) {
  std::sort(list.begin(), list.end());
  list.erase(std::unique(list.begin(), list.end()), list.end());
}

}  // namespace

LinkTargets::LinkTargets(const Markup& bookMarkup, const std::vector<size_t>& others, bool isUtf8)
    : markup(bookMarkup), wholeCharacters(isUtf8) {
  std::vector<size_t> linked = FindLinks();
  if (!names.empty()) FindNames();
  for (const auto& [name, position] : names) {
    if (position) linked.push_back(*position);
  }
  SortUnique(linked);
  std::vector<size_t> all = linked;
  all.insert(all.end(), others.begin(), others.end());
  SortUnique(all);
  targets.reserve(all.size());
  for (const size_t position : all) targets.push_back({position, 0});
  FindPlaces();
  for (const size_t position : linked) linkedPlaces.push_back(PlaceOf(position));
  SortUnique(linkedPlaces);
}

std::vector<size_t> LinkTargets::FindLinks() {
  std::vector<size_t> linked;
  Attributes attributes;
  Tag tag;
  for (TagScanner scanner(markup.Text()); scanner.Next(tag);) {
    if (!IsLink(tag)) continue;
    attributes.Read(tag.attributes);
    if (const std::optional<size_t> position = markup.LinkTarget(attributes)) {
      linked.push_back(*position);
    } else if (const Bytes href = attributes.Get("href"); href.starts_with('#')) {
      names.emplace(NameIn(tag.begin, href.substr(1)), std::nullopt);
    }
  }
  return linked;
}

void LinkTargets::FindNames() {
  Attributes attributes;
  Tag tag;
  for (TagScanner scanner(markup.Text()); scanner.Next(tag);) {
    if (tag.kind != TagKind::kStart) continue;
    attributes.Read(tag.attributes);
    for (const Bytes attribute : {Bytes("id"), Bytes("name")}) {
      const Bytes name = attributes.Get(attribute);
      if (name.empty()) continue;
      const auto wanted = names.find(NameIn(tag.begin, name));
      if (wanted != names.end() && !wanted->second) wanted->second = tag.begin;
    }
  }
}

void LinkTargets::FindPlaces() {
  const Bytes text = markup.Text();
  Placing placing(text, wholeCharacters, targets);
  Tag tag;
  size_t textBegin = 0;
  TagScanner scanner(text);
  while (scanner.Next(tag)) {
    placing.PassText(textBegin, tag.begin);
    placing.PassTag(tag);
    textBegin = tag.end;
  }
  placing.PassText(textBegin, text.size());
  placing.Finish();
}

std::string LinkTargets::NameIn(size_t at, Bytes name) const {
  return std::to_string(markup.DocumentStart(at)) + '#' + std::string(name);
}

std::optional<size_t> LinkTargets::PositionOf(const Attributes& attributes, size_t at) const {
  if (const std::optional<size_t> position = markup.LinkTarget(attributes)) return position;
  const Bytes href = attributes.Get("href");
  if (!href.starts_with('#')) return std::nullopt;
  const auto name = names.find(NameIn(at, href.substr(1)));
  return name == names.end() ? std::nullopt : name->second;
}

std::optional<size_t> LinkTargets::Follow(const Attributes& attributes, size_t at) const {
  const std::optional<size_t> position = PositionOf(attributes, at);
  if (!position) return std::nullopt;
  return PlaceOf(*position);
}

size_t LinkTargets::PlaceOf(size_t position) const {
  const auto target =
      std::lower_bound(targets.begin(), targets.end(), position,
                       [](const Target& t, size_t value) { return t.position < value; });
  return target == targets.end() ? markup.Text().size() : target->place;
}

}  // namespace kav_mobi
