// Collecting links and finding places for their targets: three passes over the tags.
#include "link_targets.h"

#include <algorithm>

#include "encoding.h"

namespace kav_mobi {
namespace {

constexpr Bytes kBlanks = " \t\r\n";
constexpr size_t kLongestReference = 10;

bool isLink(const Tag& tag) {
  return tag.kind == TagKind::kStart && tag.element != nullptr && tag.element->name == "a";
}

// The byte from `at` back that begins a character or a character reference of text.
size_t characterStart(Bytes text, size_t at, bool wholeCharacters) {
  const size_t reach = at - std::min(at, kLongestReference);
  const size_t reference = text.substr(reach, at - reach).rfind('&');
  if (reference != Bytes::npos) {
    const Bytes between = text.substr(reach + reference, at - reach - reference);
    if (between.find_first_of("; \t\r\n<>") == Bytes::npos) return reach + reference;
  }
  if (!wholeCharacters) return at;
  for (size_t back = 1; back < 4 && back <= at; ++back) {
    const size_t length = utf8CharacterLength(text.substr(at - back, 4));
    if (length > back) return at - back;
    if (length != 0) break;
  }
  return at;
}

enum class Meeting : uint8_t { kPass, kBefore, kAfter };

// Where a target that meets this tag is marked: blocks have it as their first content, so that it
// survives whatever becomes of the block itself. Other elements have it before their first text.
Meeting meetingOf(const Tag& tag) {
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
  Placing(Bytes text, bool wholeCharacters, std::vector<Target>& targets)
      : text_(text), wholeCharacters_(wholeCharacters), targets_(targets) {}

  void passText(size_t begin, size_t end) {
    const Bytes run = text_.substr(begin, end - begin);
    const size_t visible = run.find_first_not_of(kBlanks);
    if (visible == Bytes::npos) return;
    const size_t lastVisible = begin + run.find_last_not_of(kBlanks);
    placeUpTo(begin, begin);
    while (next_ < targets_.size() && targets_[next_].position <= lastVisible) {
      const size_t at = targets_[next_].position;
      targets_[next_++].place = std::max(begin, characterStart(text_, at, wholeCharacters_));
    }
  }

  void passTag(const Tag& tag) {
    const Meeting meeting = meetingOf(tag);
    if (meeting == Meeting::kPass) return;
    placeUpTo(tag.end - 1, meeting == Meeting::kBefore ? tag.begin : tag.end);
  }

  void finish() { placeUpTo(Bytes::npos, text_.size()); }

 private:
  void placeUpTo(size_t position, size_t place) {
    while (next_ < targets_.size() && targets_[next_].position <= position) {
      targets_[next_++].place = place;
    }
  }

  Bytes text_;
  bool wholeCharacters_;
  std::vector<Target>& targets_;
  size_t next_ = 0;
};

void sortUnique(std::vector<size_t>& list) {
  std::sort(list.begin(), list.end());
  list.erase(std::unique(list.begin(), list.end()), list.end());
}

}  // namespace

LinkTargets::LinkTargets(const Markup& markup, const std::vector<size_t>& others,
                         bool wholeCharacters)
    : markup_(markup), wholeCharacters_(wholeCharacters) {
  std::vector<size_t> linked = findLinks();
  if (!names_.empty()) findNames();
  for (const auto& [name, position] : names_) {
    if (position) linked.push_back(*position);
  }
  sortUnique(linked);
  std::vector<size_t> all = linked;
  all.insert(all.end(), others.begin(), others.end());
  sortUnique(all);
  targets_.reserve(all.size());
  for (const size_t position : all) targets_.push_back({position, 0});
  findPlaces();
  for (const size_t position : linked) linkedPlaces_.push_back(placeOf(position));
  sortUnique(linkedPlaces_);
}

std::vector<size_t> LinkTargets::findLinks() {
  std::vector<size_t> linked;
  Attributes attributes;
  Tag tag;
  for (TagScanner scanner(markup_.text()); scanner.next(tag);) {
    if (!isLink(tag)) continue;
    attributes.read(tag.attributes);
    if (const std::optional<size_t> position = markup_.linkTarget(attributes)) {
      linked.push_back(*position);
    } else if (const Bytes href = attributes.get("href"); href.starts_with('#')) {
      names_.emplace(nameIn(tag.begin, href.substr(1)), std::nullopt);
    }
  }
  return linked;
}

void LinkTargets::findNames() {
  Attributes attributes;
  Tag tag;
  for (TagScanner scanner(markup_.text()); scanner.next(tag);) {
    if (tag.kind != TagKind::kStart) continue;
    attributes.read(tag.attributes);
    for (const Bytes attribute : {Bytes("id"), Bytes("name")}) {
      const Bytes name = attributes.get(attribute);
      if (name.empty()) continue;
      const auto wanted = names_.find(nameIn(tag.begin, name));
      if (wanted != names_.end() && !wanted->second) wanted->second = tag.begin;
    }
  }
}

void LinkTargets::findPlaces() {
  const Bytes text = markup_.text();
  Placing placing(text, wholeCharacters_, targets_);
  Tag tag;
  size_t textBegin = 0;
  TagScanner scanner(text);
  while (scanner.next(tag)) {
    placing.passText(textBegin, tag.begin);
    placing.passTag(tag);
    textBegin = tag.end;
  }
  placing.passText(textBegin, text.size());
  placing.finish();
}

std::string LinkTargets::nameIn(size_t at, Bytes name) const {
  return std::to_string(markup_.documentStart(at)) + '#' + std::string(name);
}

std::optional<size_t> LinkTargets::positionOf(const Attributes& attributes, size_t at) const {
  if (const std::optional<size_t> position = markup_.linkTarget(attributes)) return position;
  const Bytes href = attributes.get("href");
  if (!href.starts_with('#')) return std::nullopt;
  const auto name = names_.find(nameIn(at, href.substr(1)));
  return name == names_.end() ? std::nullopt : name->second;
}

std::optional<size_t> LinkTargets::follow(const Attributes& attributes, size_t at) const {
  const std::optional<size_t> position = positionOf(attributes, at);
  if (!position) return std::nullopt;
  return placeOf(*position);
}

size_t LinkTargets::placeOf(size_t position) const {
  const auto target =
      std::lower_bound(targets_.begin(), targets_.end(), position,
                       [](const Target& t, size_t value) { return t.position < value; });
  return target == targets_.end() ? markup_.text().size() : target->place;
}

}  // namespace kav_mobi
