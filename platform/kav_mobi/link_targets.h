// The places in a book that something leads to, and where on the page they are marked.
#ifndef KAV_MOBI_LINK_TARGETS_H
#define KAV_MOBI_LINK_TARGETS_H

#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "markup.h"

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
  // `wholeCharacters` says that the text is UTF-8, inside whose characters nothing may be placed.
  LinkTargets(const Markup& markup, const std::vector<size_t>& others, bool wholeCharacters);

  // The place that a link at byte `at` of the text leads to; none when it leads out of the book.
  std::optional<size_t> follow(const Attributes& attributes, size_t at) const;
  // The place of a position that was given or found.
  size_t placeOf(size_t position) const;

  // The places that links lead to, in order, each once.
  const std::vector<size_t>& linkedPlaces() const { return linkedPlaces_; }

 private:
  std::optional<size_t> positionOf(const Attributes& attributes, size_t at) const;
  std::string nameIn(size_t at, Bytes name) const;
  std::vector<size_t> findLinks();
  void findNames();
  void findPlaces();

  const Markup& markup_;
  bool wholeCharacters_;
  std::unordered_map<std::string, std::optional<size_t>> names_;  // linked to by name
  std::vector<Target> targets_;                                   // by position
  std::vector<size_t> linkedPlaces_;
};

}  // namespace kav_mobi

#endif
