// What may stand in what, in XHTML 1.1.
#ifndef KAVEPUB_PAGE_CONTENT_MODEL_H
#define KAVEPUB_PAGE_CONTENT_MODEL_H

#include <cstdint>
#include <string_view>

// What an element may hold.
enum class Model : std::uint8_t {
  kFlow,         // text and blocks
  kBlocks,       // blocks only
  kText,         // text, and no blocks
  kLine,         // the same of what is one line: headings, terms
  kCaption,      // the same of what is one line wherever it stands
  kItems,        // of a list
  kDefinitions,  // terms and definitions
  kTable,
  kRows,
  kCells,
  kColumns,
  kNothing
};

// Where an element may stand.
enum class Place : std::uint8_t {
  kInText,
  kBlock,      // that can be a part of a line, if it must
  kFirmBlock,  // that cannot
  kItem,
  kDefinition,  // a term is one, too
  kCaption,
  kColumnGroup,
  kColumn,
  kRowGroup,
  kRow,
  kCell
};

// What becomes of an element that comes inside another.
struct Fit {
  enum class Way : std::uint8_t {
    kStays,
    kWrapped,     // in a further element
    kMovedUp,     // behind the beginning of the outer one, which goes on after it
    kPutInLine,   // becomes inline
    kTransparent  // only what is in it stays
  };
  Way way = Way::kStays;
  const char* wrapper = nullptr;
  Model model = Model::kFlow;  // of the wrapper
};

Fit FitOf(Model outer, Place inner);

// Whether an element with nothing in it is none.
bool NeedsContent(Model model);

// An element of HTML 5 as XHTML 1.1 has it.
struct ElementRule {
  enum class Fate : std::uint8_t {
    kKept,
    kDropped,  // with all that is in it
    kOpened    // only what is in it stays
  };
  std::string_view html;
  const char* name;  // where it differs, the HTML name becomes a class
  Place place;
  Model model;
  Fate fate = Fate::kKept;
};

// Elements that nobody knows are inline, as in browsers.
const ElementRule& RuleOf(std::string_view html);

#endif
