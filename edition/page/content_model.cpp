// The tables of elements, and of what becomes of one that stands where it may not.
#include "edition/page/content_model.h"

#include <algorithm>
#include <iterator>

namespace {

using enum Model;
using enum ElementRule::Fate;

constexpr Fit kStays{Fit::Way::kStays};
constexpr Fit kMovedUp{Fit::Way::kMovedUp};
constexpr Fit kInLine{Fit::Way::kPutInLine};
constexpr Fit kTransparent{Fit::Way::kTransparent};

constexpr Fit In(const char* wrapper, Model model) {
  return {Fit::Way::kWrapped, wrapper, model};
}

constexpr Fit kInRun = In("div", kText);
constexpr Fit kInList = In("ul", kItems);
constexpr Fit kInItem = In("li", kFlow);
constexpr Fit kInDefinitions = In("dl", kDefinitions);
constexpr Fit kInDefinition = In("dd", kFlow);
constexpr Fit kInTable = In("table", kTable);
constexpr Fit kInGroup = In("tbody", kRows);
constexpr Fit kInRow = In("tr", kCells);
constexpr Fit kInCell = In("td", kFlow);

// A row for each model, a column for each place, in their orders.
constexpr Fit kFits[][11] = {
    // text, block, firm block, item, definition, caption, column group, column, row group, row,
    // cell
    {kStays, kStays, kStays, kInList, kInDefinitions, kTransparent, kTransparent, kTransparent,
     kInTable, kInTable, kInTable},
    {kInRun, kStays, kStays, kInList, kInDefinitions, kTransparent, kTransparent, kTransparent,
     kInTable, kInTable, kInTable},
    {kStays, kMovedUp, kMovedUp, kMovedUp, kMovedUp, kTransparent, kTransparent, kTransparent,
     kMovedUp, kMovedUp, kMovedUp},
    {kStays, kInLine, kMovedUp, kInLine, kInLine, kTransparent, kTransparent, kTransparent,
     kMovedUp, kMovedUp, kMovedUp},
    {kStays, kInLine, kInLine, kInLine, kInLine, kInLine, kTransparent, kTransparent, kInLine,
     kInLine, kInLine},
    {kInItem, kInItem, kInItem, kStays, kInItem, kTransparent, kTransparent, kTransparent, kInItem,
     kInItem, kInItem},
    {kInDefinition, kTransparent, kInDefinition, kInDefinition, kStays, kTransparent, kTransparent,
     kTransparent, kInDefinition, kInDefinition, kInDefinition},
    {kInGroup, kInGroup, kInGroup, kInGroup, kInGroup, kStays, kStays, kTransparent, kStays,
     kInGroup, kInGroup},
    {kInRow, kInRow, kInRow, kInRow, kInRow, kTransparent, kTransparent, kTransparent, kTransparent,
     kStays, kInRow},
    {kInCell, kInCell, kInCell, kInCell, kInCell, kTransparent, kTransparent, kTransparent,
     kTransparent, kTransparent, kStays},
    {kMovedUp, kMovedUp, kMovedUp, kMovedUp, kMovedUp, kMovedUp, kMovedUp, kStays, kMovedUp,
     kMovedUp, kMovedUp},
    {kMovedUp, kMovedUp, kMovedUp, kMovedUp, kMovedUp, kMovedUp, kMovedUp, kMovedUp, kMovedUp,
     kMovedUp, kMovedUp},
};

constexpr Model kNeedContent[] = {kBlocks, kItems, kDefinitions, kTable, kRows, kCells};

// In the order of their names.
constexpr ElementRule kRules[] = {
    {"a", "a", Place::kInText, kText},
    {"abbr", "abbr", Place::kInText, kText},
    {"acronym", "acronym", Place::kInText, kText},
    {"address", "address", Place::kBlock, kLine},
    {"applet", "div", Place::kBlock, kFlow, kOpened},
    {"area", "li", Place::kItem, kFlow},
    {"article", "div", Place::kBlock, kFlow},
    {"aside", "div", Place::kBlock, kFlow},
    {"audio", "div", Place::kBlock, kFlow, kOpened},
    {"b", "b", Place::kInText, kText},
    {"base", "span", Place::kInText, kNothing, kDropped},
    {"bdi", "span", Place::kInText, kText},
    {"bdo", "span", Place::kInText, kText},
    {"big", "big", Place::kInText, kText},
    {"blink", "span", Place::kInText, kText},
    {"blockquote", "blockquote", Place::kFirmBlock, kBlocks},
    {"body", "div", Place::kBlock, kFlow, kOpened},
    {"br", "br", Place::kInText, kNothing},
    {"button", "span", Place::kInText, kText, kDropped},
    {"canvas", "div", Place::kBlock, kFlow, kOpened},
    {"caption", "caption", Place::kCaption, kCaption},
    {"center", "div", Place::kBlock, kFlow},
    {"cite", "cite", Place::kInText, kText},
    {"code", "code", Place::kInText, kText},
    {"col", "col", Place::kColumn, kNothing},
    {"colgroup", "colgroup", Place::kColumnGroup, kColumns},
    {"data", "span", Place::kInText, kText, kOpened},
    {"datalist", "div", Place::kBlock, kFlow, kDropped},
    {"dd", "dd", Place::kDefinition, kFlow},
    {"del", "del", Place::kInText, kText},
    {"details", "div", Place::kBlock, kFlow},
    {"dfn", "dfn", Place::kInText, kText},
    {"dialog", "div", Place::kBlock, kFlow},
    {"dir", "ul", Place::kFirmBlock, kItems},
    {"div", "div", Place::kBlock, kFlow},
    {"dl", "dl", Place::kFirmBlock, kDefinitions},
    {"dt", "dt", Place::kDefinition, kLine},
    {"em", "em", Place::kInText, kText},
    {"embed", "span", Place::kInText, kNothing, kDropped},
    {"fieldset", "div", Place::kBlock, kFlow},
    {"figcaption", "div", Place::kBlock, kFlow},
    {"figure", "div", Place::kBlock, kFlow},
    {"font", "span", Place::kInText, kText},
    {"footer", "div", Place::kBlock, kFlow},
    {"form", "div", Place::kBlock, kFlow},
    {"frame", "div", Place::kBlock, kNothing, kDropped},
    {"frameset", "div", Place::kBlock, kFlow, kOpened},
    {"h1", "h1", Place::kBlock, kLine},
    {"h2", "h2", Place::kBlock, kLine},
    {"h3", "h3", Place::kBlock, kLine},
    {"h4", "h4", Place::kBlock, kLine},
    {"h5", "h5", Place::kBlock, kLine},
    {"h6", "h6", Place::kBlock, kLine},
    {"head", "div", Place::kBlock, kNothing, kDropped},
    {"header", "div", Place::kBlock, kFlow},
    {"hgroup", "div", Place::kBlock, kFlow},
    {"hr", "hr", Place::kFirmBlock, kNothing},
    {"html", "div", Place::kBlock, kFlow, kOpened},
    {"i", "i", Place::kInText, kText},
    {"iframe", "div", Place::kBlock, kNothing, kDropped},
    {"image", "img", Place::kInText, kNothing},
    {"img", "img", Place::kInText, kNothing},
    {"input", "span", Place::kInText, kNothing, kDropped},
    {"ins", "ins", Place::kInText, kText},
    {"kbd", "kbd", Place::kInText, kText},
    {"label", "span", Place::kInText, kText},
    {"legend", "div", Place::kBlock, kFlow},
    {"li", "li", Place::kItem, kFlow},
    {"link", "span", Place::kInText, kNothing, kDropped},
    {"listing", "pre", Place::kFirmBlock, kText},
    {"main", "div", Place::kBlock, kFlow},
    {"map", "div", Place::kBlock, kFlow},
    {"mark", "span", Place::kInText, kText},
    {"marquee", "div", Place::kBlock, kFlow},
    {"menu", "ul", Place::kFirmBlock, kItems},
    {"meta", "span", Place::kInText, kNothing, kDropped},
    {"nav", "div", Place::kBlock, kFlow},
    {"noembed", "div", Place::kBlock, kFlow, kDropped},
    {"noframes", "div", Place::kBlock, kFlow, kDropped},
    {"noscript", "div", Place::kBlock, kFlow, kDropped},
    {"object", "span", Place::kInText, kText, kOpened},
    {"ol", "ol", Place::kFirmBlock, kItems},
    {"p", "p", Place::kBlock, kText},
    {"param", "span", Place::kInText, kNothing, kDropped},
    {"picture", "span", Place::kInText, kText, kOpened},
    {"plaintext", "pre", Place::kFirmBlock, kText},
    {"pre", "pre", Place::kFirmBlock, kText},
    {"q", "q", Place::kInText, kText},
    {"samp", "samp", Place::kInText, kText},
    {"script", "span", Place::kInText, kNothing, kDropped},
    {"search", "div", Place::kBlock, kFlow},
    {"section", "div", Place::kBlock, kFlow},
    {"select", "span", Place::kInText, kText, kDropped},
    {"slot", "span", Place::kInText, kText, kOpened},
    {"small", "small", Place::kInText, kText},
    {"source", "span", Place::kInText, kNothing, kDropped},
    {"span", "span", Place::kInText, kText},
    {"strong", "strong", Place::kInText, kText},
    {"style", "span", Place::kInText, kNothing, kDropped},
    {"sub", "sub", Place::kInText, kText},
    {"summary", "div", Place::kBlock, kFlow},
    {"sup", "sup", Place::kInText, kText},
    {"table", "table", Place::kFirmBlock, kTable},
    {"tbody", "tbody", Place::kRowGroup, kRows},
    {"td", "td", Place::kCell, kFlow},
    {"template", "div", Place::kBlock, kFlow, kDropped},
    {"textarea", "span", Place::kInText, kText, kDropped},
    {"tfoot", "tfoot", Place::kRowGroup, kRows},
    {"th", "th", Place::kCell, kFlow},
    {"thead", "thead", Place::kRowGroup, kRows},
    {"title", "span", Place::kInText, kText, kDropped},
    {"tr", "tr", Place::kRow, kCells},
    {"track", "span", Place::kInText, kNothing, kDropped},
    {"tt", "tt", Place::kInText, kText},
    {"ul", "ul", Place::kFirmBlock, kItems},
    {"var", "var", Place::kInText, kText},
    {"video", "div", Place::kBlock, kFlow, kOpened},
    {"wbr", "span", Place::kInText, kNothing, kDropped},
    {"xmp", "pre", Place::kFirmBlock, kText},
};

constexpr ElementRule kUnknown{"", "span", Place::kInText, kText};

constexpr bool ComesBefore(const ElementRule& one, const ElementRule& other) {
  return one.html < other.html;
}
static_assert(std::is_sorted(std::begin(kRules), std::end(kRules), ComesBefore));

}  // namespace

Fit FitOf(Model outer, Place inner) {
  return kFits[static_cast<size_t>(outer)][static_cast<size_t>(inner)];
}

bool NeedsContent(Model model) {
  return std::find(std::begin(kNeedContent), std::end(kNeedContent), model) !=
         std::end(kNeedContent);
}

const ElementRule& RuleOf(std::string_view html) {
  const auto* rule = std::lower_bound(
      std::begin(kRules), std::end(kRules), html,
      [](const ElementRule& row, std::string_view name) { return row.html < name; });
  return rule != std::end(kRules) && rule->html == html ? *rule : kUnknown;
}
