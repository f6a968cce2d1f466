// Writes the body of a page so that XHTML 1.1 allows it, whatever stood in what.
#include "edition/page/markup_writer.h"

#include <algorithm>
#include <utility>

#include "edition/book/markup.h"
#include "edition/page/words.h"

namespace {

// So many inline elements go on in the next block; pages that have more inside each other are made
// to fill disks.
constexpr size_t kMostCarried = 16;

// Attributes are written again with each tag that goes on behind others, but no more of them than
// this, or so many times all that was written once.
constexpr size_t kRepeatedFreely = size_t{1} << 16;
constexpr size_t kMostRepeated = 4;
constexpr size_t kLongestOnNextPage = 512;

constexpr size_t kBetweenBreaks = size_t{1} << 13;
constexpr size_t kDeepestBreak = 64;
constexpr size_t kLongestWholeRun = size_t{1} << 16;  // a quarter of a page

enum TableStage { kNothingYet, kCaptionBegun, kColumnsBegun, kHeadBegun, kFootBegun, kBodyBegun };

bool IsBlank(std::string_view text) {
  return text.find_first_not_of(kBlanks) == std::string_view::npos;
}

void AddClass(std::string_view name, std::string& attributes) {
  constexpr std::string_view kClass = " class=\"";
  const size_t at = attributes.find(kClass);
  if (at == std::string::npos) {
    attributes.append(kClass).append(name).append("\"");
  } else {
    attributes.insert(at + kClass.size(), std::string(name) + " ");
  }
}

// Those that every element may have.
std::string CommonAttributes(std::string_view attributes) {
  constexpr std::string_view kCommon[] = {"class", "dir", "style", "title", "xml:lang"};
  std::string common;
  while (!attributes.empty()) {
    const size_t equals = attributes.find('=');
    const size_t end = std::min(attributes.find('"', equals + 2), attributes.size() - 1) + 1;
    if (IsOneOf(kCommon, attributes.substr(1, equals - 1))) common += attributes.substr(0, end);
    attributes.remove_prefix(end);
  }
  return common;
}

}  // namespace

MarkupWriter::MarkupWriter() {
  blocks.push_back({"body", Place::kBlock, Model::kBlocks, {}, {}, 0});
  blocks.back().isOpen = true;
  blocks.back().isWritten = true;
  open.push_back({"body", Model::kBlocks, 0, false});
}

void MarkupWriter::Begin(const char* name, Place place, Model model, std::string attributes,
                         std::string id) {
  if (place == Place::kInText) return BeginInline(name, std::move(attributes), std::move(id));
  Element element{name, place, model, std::move(attributes), std::move(id), 0};
  Fit fit;
  element.host = Host(place, fit);
  if (fit.way == Fit::Way::kStays && blocks[element.host].model == Model::kTable) {
    FitIntoTable(element, fit);
  }
  if (fit.way == Fit::Way::kPutInLine) {
    element.attributes = CommonAttributes(element.attributes);
    AddClass(name, element.attributes);
    AddClass("line", element.attributes);
    return BeginInline("span", std::move(element.attributes), std::move(element.id));
  }
  CloseInlines();
  if (std::string_view(name) == "pre") ++preformatted;
  element.isTransparent = fit.way == Fit::Way::kTransparent;
  order.push_back(false);
  blocks.push_back(std::move(element));
}

// Of a table, parts come in a fixed order; those that come too late are bodies, but for columns.
void MarkupWriter::FitIntoTable(Element& element, Fit& fit) {
  int& stage = blocks[element.host].tableStage;
  int own = kBodyBegun;
  if (element.place == Place::kCaption) own = kCaptionBegun;
  if (element.place == Place::kColumnGroup) own = kColumnsBegun;
  if (element.name == std::string_view("thead")) own = kHeadBegun;
  if (element.name == std::string_view("tfoot")) own = kFootBegun;
  const bool repeats = own == kColumnsBegun || own == kBodyBegun;
  if (own > stage || (repeats && own == stage)) {
    stage = own;
  } else if (element.place == Place::kCaption) {
    fit.way = Fit::Way::kPutInLine;
  } else if (element.place == Place::kColumnGroup) {
    fit.way = Fit::Way::kTransparent;
  } else if (element.place == Place::kRowGroup) {
    AddClass(element.name, element.attributes);
    element.name = "tbody";
    stage = kBodyBegun;
  }
}

void MarkupWriter::End() {
  const bool isInline = order.back();
  order.pop_back();
  isInline ? EndInline() : EndBlock();
}

void MarkupWriter::BeginInline(const char* name, std::string attributes, std::string id) {
  Element element{name, Place::kInText, Model::kText, std::move(attributes), std::move(id), 0};
  order.push_back(true);
  inlines.push_back(std::move(element));
}

void MarkupWriter::EndInline() {
  Element& element = inlines.back();
  if (!openInlines.empty() && openInlines.back() == inlines.size() - 1) {
    page.body.append("</").append(element.name).append(">");
    openInlines.pop_back();
  }
  if (!element.id.empty()) pendingIds.push_back(std::move(element.id));
  inlines.pop_back();
}

void MarkupWriter::EndBlock() {
  const size_t block = blocks.size() - 1;
  Element& element = blocks[block];
  CloseInlines();
  if (!element.isTransparent && !element.isWritten && !NeedsContent(element.model)) {
    OpenBlock(block);
  }
  if (element.isOpen) {
    while (open.back().block != block) CloseTag();
    CloseTag();
  }
  if (!element.id.empty()) pendingIds.push_back(std::move(element.id));
  if (std::string_view(element.name) == "pre") --preformatted;
  blocks.pop_back();
}

void MarkupWriter::Text(std::string_view text) {
  if (IsBlank(text) && !IsPreformatted()) {
    if (isInRun) {
      page.body += ' ';
    } else if (!page.body.empty() && page.body.back() != '\n') {
      page.body += '\n';
    }
    return;
  }
  if (text.empty()) return;
  PrepareText();
  if (IsPreformatted()) return WriteInPreformatted(text);
  AppendEscaped(text, page.body);
}

void MarkupWriter::WriteInPreformatted(std::string_view text) {
  while (!text.empty()) {
    const bool mayBreak = MayBreakRun();
    const size_t line = mayBreak ? text.find('\n') : std::string_view::npos;
    const size_t most = mayBreak ? text.size() : std::min(text.size(), kBetweenBreaks);
    const size_t end = std::min(line, most - 1) + 1;
    AppendEscaped(text.substr(0, end), page.body);
    text.remove_prefix(end);
    if (line == std::string_view::npos) continue;
    isAtLineEnd = true;
    if (!text.empty()) PrepareText();
  }
}

void MarkupWriter::Inline(std::string_view markup) {
  PrepareText();
  page.body += markup;
  isAtLineEnd = markup.starts_with("<br");
}

bool MarkupWriter::IsPreformatted() const {
  return preformatted > 0;
}

bool MarkupWriter::BeginPart(size_t number) {
  if (!inlines.empty() || blocks.back().isTransparent) return false;
  if (!pendingIds.empty()) PrepareText();
  OpenBlock(blocks.size() - 1);
  CloseInlines();
  while (open.back().block == kNone) CloseTag();
  if (open.back().model != Model::kFlow && open.back().model != Model::kBlocks) return false;
  page.body.append(1, kPartMark).append(std::to_string(number)).append(1, kMarkEnd);
  return true;
}

void MarkupWriter::EndPart(size_t number) {
  CloseInlines();
  while (open.back().block == kNone) CloseTag();
  page.body.append(1, kPartEndMark).append(std::to_string(number)).append(1, kMarkEnd);
}

PageMarkup MarkupWriter::Finish() {
  while (!order.empty()) End();
  if (!pendingIds.empty()) PrepareText();
  CloseInlines();
  while (open.size() > 1) CloseTag();
  return std::move(page);
}

// The block that is to hold an element, and how.
size_t MarkupWriter::Host(Place place, Fit& fit) const {
  size_t host = Opaque(blocks.size() - 1);
  for (;;) {
    fit = FitOf(blocks[host].model, place);
    if (fit.way != Fit::Way::kMovedUp || host == 0) return host;
    host = Opaque(blocks[host].host);
  }
}

size_t MarkupWriter::Opaque(size_t block) const {
  while (blocks[block].isTransparent) block = blocks[block].host;
  return block;
}

// Writes the tags of a block and of all that it stands in, as far as they are not open.
void MarkupWriter::OpenBlock(size_t block) {
  block = Opaque(block);
  path.clear();
  for (; !blocks[block].isOpen; block = Opaque(blocks[block].host)) path.push_back(block);
  while (!path.empty()) {
    const size_t next = path.back();
    path.pop_back();
    Element& element = blocks[next];
    const size_t host = Opaque(element.host);
    GoTo(host, element.place);
    NoteBreak();
    if (blocks[host].model == Model::kTable && element.name == std::string_view("tbody")) {
      open.back().hasBody = true;
    }
    page.body.append("<").append(element.name);
    if (!element.id.empty()) PutId(element);
    PutAttributes(element);
    if (element.model == Model::kNothing) {
      page.body += "/>";
      isInRun = false;
      continue;
    }
    page.body += ">";
    element.isOpen = true;
    open.push_back({element.name, element.model, next, false});
    BeginRun();
  }
}

void MarkupWriter::PutId(Element& element) {
  page.body.append(" id=\"").append(element.id).append("\"");
  element.id.clear();
}

void MarkupWriter::PutAttributes(Element& element) {
  const size_t size = element.attributes.size();
  if (std::exchange(element.isWritten, true)) {
    const size_t once = page.body.size() - repeated;
    if (repeated + size > kRepeatedFreely + kMostRepeated * once) return;
    repeated += size;
  }
  page.body += element.attributes;
}

// Ends what is open in a block, and puts tags between, so that something of that place can come.
void MarkupWriter::GoTo(size_t block, Place place) {
  while (open.back().block != kNone && open.back().block != block) CloseTag();
  const auto stays = [&](const Open& tag) { return FitOf(tag.model, place).way; };
  const bool fitsDirectly = FitOf(blocks[block].model, place).way == Fit::Way::kStays;
  while (open.back().block != block) {
    const Fit::Way way = stays(open.back());
    if (!fitsDirectly && (way == Fit::Way::kStays || way == Fit::Way::kWrapped)) break;
    CloseTag();
  }
  for (Fit fit = FitOf(open.back().model, place); fit.way == Fit::Way::kWrapped;
       fit = FitOf(open.back().model, place)) {
    if (open.back().model == Model::kTable) open.back().hasBody = true;
    page.body.append("<").append(fit.wrapper);
    if (place == Place::kInText && fit.model == Model::kText) page.body.append(" class=\"run\"");
    page.body.append(">");
    open.push_back({fit.wrapper, fit.model, kNone, false});
    BeginRun();
  }
}

void MarkupWriter::BeginRun() {
  isInRun = false;
  beginOfRun = page.body.size();
}

void MarkupWriter::CloseTag() {
  CloseInlines();
  const Open& tag = open.back();
  if (tag.model == Model::kTable && !tag.hasBody) {
    page.body += "<tbody><tr><td></td></tr></tbody>";
  }
  page.body.append("</").append(tag.name).append(">");
  if (tag.block != kNone) blocks[tag.block].isOpen = false;
  open.pop_back();
  isInRun = false;
}

void MarkupWriter::PrepareText() {
  size_t block = Opaque(blocks.size() - 1);
  while (FitOf(blocks[block].model, Place::kInText).way == Fit::Way::kMovedUp) {
    block = Opaque(blocks[block].host);
  }
  OpenBlock(block);
  GoTo(block, Place::kInText);
  if (std::exchange(isAtLineEnd, false) && MayBreakRun()) {
    CloseInlines();
    NoteBreak();
  }
  OpenInlines();
  isInRun = true;
  for (const std::string& id : std::exchange(pendingIds, {})) {
    page.body.append("<span id=\"").append(id).append("\"></span>");
  }
}

void MarkupWriter::OpenInlines() {
  const size_t carried = inlines.size() > kMostCarried ? inlines.size() - kMostCarried : 0;
  for (size_t i = openInlines.empty() ? carried : openInlines.back() + 1; i < inlines.size(); ++i) {
    Element& element = inlines[i];
    page.body.append("<").append(element.name);
    if (!element.id.empty()) PutId(element);
    PutAttributes(element);
    page.body += ">";
    openInlines.push_back(i);
  }
}

void MarkupWriter::CloseInlines() {
  while (!openInlines.empty()) {
    page.body.append("</").append(inlines[openInlines.back()].name).append(">");
    openInlines.pop_back();
  }
}

// Listings and texts without paragraphs may end with a page wherever a line does, if they are long.
bool MarkupWriter::MayBreakRun() const {
  return page.body.size() >= beginOfRun + kLongestWholeRun && MayBreak();
}

bool MarkupWriter::MayBreak() const {
  return page.body.size() >= lastBreak + kBetweenBreaks && open.size() <= kDeepestBreak &&
         std::none_of(open.begin(), open.end(),
                      [](const Open& tag) { return tag.name == std::string_view("thead"); });
}

void MarkupWriter::NoteBreak() {
  if (!MayBreak()) return;
  PageBreak found{open.size() - 1, {}, {}};
  for (size_t i = 1; i < open.size(); ++i) {
    found.ending.insert(0, std::string("</") + open[i].name + ">");
    found.beginning.append("<").append(open[i].name);
    if (open[i].block != kNone) {
      const std::string& attributes = blocks[open[i].block].attributes;
      if (attributes.size() <= kLongestOnNextPage) found.beginning += attributes;
    }
    found.beginning += ">";
  }
  lastBreak = page.body.size();
  page.body.append(1, kBreakMark).append(std::to_string(page.breaks.size())).append(1, kMarkEnd);
  page.breaks.push_back(std::move(found));
}
