// Names the places that have no name.
#include "edition/mobi/places.h"

#include <algorithm>

#include "edition/page/reference.h"

namespace {

constexpr size_t kLongestTag = 1024;
constexpr size_t kLongestId = 200;
// Of the ids that a page has itself, none begins so.
constexpr char kIdPrefix[] = "_p.";

// The id of the element that begins at a position; empty for none that can be linked to.
std::string IdAt(std::string_view text) {
  if (!text.starts_with('<')) return {};
  kav_mobi::TagScanner scanner(text.substr(0, kLongestTag));
  kav_mobi::Tag tag;
  if (!scanner.Next(tag) || tag.begin != 0 || tag.kind != kav_mobi::TagKind::kStart ||
      tag.element == nullptr) {
    return {};
  }
  kav_mobi::Attributes attributes;
  attributes.Read(tag.attributes);
  std::string_view id = attributes.Get("id");
  if (id.empty() && tag.element->name == "a") id = attributes.Get("name");
  const bool isPlain = id.size() <= kLongestId && std::all_of(id.begin(), id.end(), [](char c) {
                         return c > ' ' && c < '\x7F' && c != '&';
                       });
  return isPlain ? XmlIdOf(id) : std::string();
}

}  // namespace

BookPlaces::BookPlaces(const BookText& text, const std::vector<Piece>& pieces,
                       const std::vector<size_t>& positions) {
  places.reserve(positions.size());
  for (const size_t position : positions) {
    BookPlace place{position, PieceOf(pieces, position), {}};
    const Piece& piece = pieces[place.document];
    if (position > piece.content && position < piece.end) {
      place.id = IdAt(text.From(position));
      place.isOwn = !place.id.empty();
      if (!place.isOwn) place.id = kIdPrefix + std::to_string(position);
    }
    places.push_back(std::move(place));
  }
}

const BookPlace& BookPlaces::At(size_t position) const {
  return *std::lower_bound(places.begin(), places.end(), position,
                           [](const BookPlace& place, size_t at) { return place.position < at; });
}

std::vector<const BookPlace*> BookPlaces::In(size_t document) const {
  auto next = std::lower_bound(
      places.begin(), places.end(), document,
      [](const BookPlace& place, size_t number) { return place.document < number; });
  std::vector<const BookPlace*> inside;
  for (; next != places.end() && next->document == document; ++next) {
    if (!next->id.empty()) inside.push_back(&*next);
  }
  return inside;
}
