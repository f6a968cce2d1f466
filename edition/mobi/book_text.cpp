// Puts the parts of a book behind each other.
#include "edition/mobi/book_text.h"

#include <algorithm>
#include <charconv>

#include "base/mobi/metadata.h"

namespace {

constexpr std::string_view kPositionMark = "kindle:pos:fid:";
constexpr std::string_view kOffsetMark = ":off:";
constexpr size_t kFragmentDigits = 4;

std::string_view TextOf(const MOBIPart& part) {
  if (part.data == nullptr) return {};
  return {reinterpret_cast<const char*>(part.data), part.size};
}

// The label of a fragment is its place in the text.
size_t PlaceOf(const MOBIIndexEntry& entry) {
  return DecimalOf(entry.label == nullptr ? "" : entry.label).value_or(std::string_view::npos);
}

}  // namespace

std::optional<size_t> DecimalOf(std::string_view text) {
  size_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end == text.data()) return std::nullopt;
  return number;
}

std::string_view SourceOf(const kav_mobi::Attributes& attributes) {
  for (const char* name : {"src", "xlink:href", "href"}) {
    const std::string_view value = attributes.Get(name);
    if (!value.empty()) return value;
  }
  return {};
}

BookText::BookText(const kav_mobi::Book& source) : book(source) {
  for (const std::string_view text : book.Documents()) {
    parts.push_back({size, text});
    size += text.size();
  }
  const MOBIRawml* raw = book.Raw();
  if (raw == nullptr) return;
  for (const MOBIPart* part = raw->flow; part != nullptr; part = part->next) {
    flows.push_back(TextOf(*part));
  }
  for (size_t i = 0; raw->frag != nullptr && i < raw->frag->entries_count; ++i) {
    fragments.push_back(PlaceOf(raw->frag->entries[i]));
  }
}

std::string_view BookText::From(size_t position) const {
  const auto behind = std::upper_bound(parts.begin(), parts.end(), position,
                                       [](size_t at, const Part& part) { return at < part.begin; });
  if (behind == parts.begin()) return {};
  const Part& part = *(behind - 1);
  return part.text.substr(std::min(position - part.begin, part.text.size()));
}

std::optional<size_t> BookText::PositionOf(std::string_view link) const {
  if (!IsNew()) {
    if (!link.starts_with(kFileReference)) return std::nullopt;
    const std::optional<size_t> position = DecimalOf(link.substr(kFileReference.size()));
    return position && *position <= size ? position : std::nullopt;
  }
  const size_t offsetAt = kPositionMark.size() + kFragmentDigits;
  if (!link.starts_with(kPositionMark) || link.size() < offsetAt) return std::nullopt;
  return PositionOf(kav_mobi::KindleNumber(link, kPositionMark),
                    kav_mobi::KindleNumber(link.substr(offsetAt), kOffsetMark));
}

std::optional<size_t> BookText::PositionOf(size_t fragment, size_t offset) const {
  if (fragment >= fragments.size() || offset > size || fragments[fragment] > size - offset) {
    return std::nullopt;
  }
  return fragments[fragment] + offset;
}

std::string_view BookText::Flow(size_t number) const {
  // The first one is the text itself.
  return number == 0 || number >= flows.size() ? std::string_view() : flows[number];
}

size_t BookText::PictureOf(std::string_view reference) const {
  if (reference.starts_with(kRecordReference)) {
    return DecimalOf(reference.substr(kRecordReference.size())).value_or(0);
  }
  const std::string_view drawing = Flow(kav_mobi::KindleNumber(reference, kFlowReference));
  if (drawing.empty()) return kav_mobi::KindleNumber(reference, kav_mobi::kEmbedPrefix);
  size_t picture = 0;
  kav_mobi::Attributes attributes;
  kav_mobi::Tag tag;
  for (kav_mobi::TagScanner scanner(drawing); scanner.Next(tag);) {
    constexpr std::string_view kAround[] = {"svg", "g", "title", "desc"};
    if (tag.kind != kav_mobi::TagKind::kStart ||
        std::find(std::begin(kAround), std::end(kAround), tag.name) != std::end(kAround)) {
      continue;
    }
    attributes.Read(tag.attributes);
    if (picture != 0 || tag.name != "image") return 0;
    picture = kav_mobi::KindleNumber(SourceOf(attributes), kav_mobi::kEmbedPrefix);
  }
  return picture;
}
