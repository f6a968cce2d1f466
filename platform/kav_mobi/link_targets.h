// The places in a book that something leads to, and where on the page they are marked.
#ifndef KAV_MOBI_LINK_TARGETS_H
#define KAV_MOBI_LINK_TARGETS_H

#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/kav_mobi/markup.h"

namespace kav_mobi {

// A position that is marked, and the byte of the text before which the mark stands: the first place
// from the position on where text may stand. Several positions may share a place.
struct Target {
  size_t position;
  size_t place;
};

class LinkTargets {
 public:
  // Finds every link of the markup. `others` are positions to be placed that no link leads to.
  // Nothing is placed inside a character of a text that is UTF-8.
  LinkTargets(const Markup& bookMarkup, const std::vector<size_t>& others, bool isUtf8);

  // The place that a link at byte `at` of the text leads to; none when it leads out of the book.
  std::optional<size_t> Follow(const Attributes& attributes, size_t at) const;
  // The place of a position that was given or found.
  size_t PlaceOf(size_t position) const;

  // The places that links lead to, in order, each once.
  const std::vector<size_t>& LinkedPlaces() const { return linkedPlaces; }

 private:
  std::optional<size_t> PositionOf(const Attributes& attributes, size_t at) const;
  std::string NameIn(size_t at, Bytes name) const;
  std::vector<size_t> FindLinks();
  void FindNames();
  void FindPlaces();

  const Markup& markup;
  bool wholeCharacters;
  std::unordered_map<std::string, std::optional<size_t>> names;  // linked to by name
  std::vector<Target> targets;                                   // by position
  std::vector<size_t> linkedPlaces;
};

}  // namespace kav_mobi

#endif
