// The order of elements on the page, and its text.
#include "platform/kav_mobi/page_writer.h"

#include "base/mobi/escaping.h"

namespace kav_mobi {
namespace {

// libxml2's HTML parser stops reading at 256; what a page is wrapped in later needs some of them.
constexpr size_t kMostOpenElements = 100;

bool IsParagraph(const Element& element) {
  return element.role == Role::kParagraph;
}

}  // namespace

PageWriter::PageWriter(OutputFile& output, uint32_t codePage) : file(output), decoder(codePage) {}

void PageWriter::Begin(std::string_view title) {
  file.Write("<!DOCTYPE html>\n<html>\n<head>\n<meta charset=\"utf-8\">\n<title>");
  escaped.clear();
  AppendEscaped(title, TextKind::kPlain, kSpecialInText, escaped);
  file.Write(escaped);
  file.Write("</title>\n</head>\n<body>\n");
}

void PageWriter::End() {
  PopTo(0);
  file.Write("\n</body>\n</html>\n");
}

void PageWriter::Text(Bytes raw) {
  if (raw.empty()) return;
  if (raw.find_first_not_of(" \t\r\n") != Bytes::npos) OpenFlow();
  decoded.clear();
  decoder.Append(raw, decoded);
  escaped.clear();
  AppendEscaped(decoded, TextKind::kMarkup, kSpecialInText, escaped);
  file.Write(escaped);
}

std::string PageWriter::AttributeValue(Bytes raw) {
  decoded.clear();
  decoder.Append(raw, decoded);
  std::string value;
  AppendEscaped(decoded, TextKind::kMarkup, kSpecialInValue, value);
  return value;
}

void PageWriter::Start(const Element& element, std::string_view attributes) {
  std::string_view written = element.written;
  switch (element.role) {
    case Role::kBody:
      PopTo(0);
      break;
    case Role::kItem:
      // An item outside of its container is a block like any other.
      if (!MakeRoomFor(element)) written = "div";
      break;
    case Role::kInline:
      OpenFlow();
      break;
    default:
      CloseParagraph();
      OpenFlow();
  }
  Push(element, written, attributes);
}

void PageWriter::Finish(const Element& element) {
  if (tooDeep > 0) {
    --tooDeep;
    return;
  }
  for (size_t depth = open.size(); depth > 0; --depth) {
    const Element& candidate = *open[depth - 1].element;
    if (&candidate == &element) return PopTo(depth - 1);
    // An end tag without its start tag reaches no further than the element that it may stand in.
    const bool isInline = element.role == Role::kInline;
    if (isInline && candidate.role != Role::kInline) return;
    const bool isFlow = element.role == Role::kBlock || element.role == Role::kParagraph;
    if (isFlow && (candidate.role == Role::kItem || candidate.role == Role::kContainer)) return;
    if (element.role == Role::kItem && candidate.role == Role::kContainer) return;
    const bool isBoundary = candidate.role == Role::kBody || candidate.name == "table";
    if (isBoundary && element.role != Role::kBody) return;
  }
}

void PageWriter::Single(const Element& element, std::string_view attributes) {
  if (element.role == Role::kRule || element.role == Role::kPageBreak) CloseParagraph();
  OpenFlow();
  file.Write("<");
  file.Write(element.written);
  file.Write(attributes);
  file.Write(element.role == Role::kPageBreak ? "></p>" : ">");
}

void PageWriter::InlineMarkup(std::string_view markup) {
  OpenFlow();
  file.Write(markup);
}

void PageWriter::Push(const Element& element, std::string_view written,
                      std::string_view attributes) {
  if (open.size() == kMostOpenElements) {
    ++tooDeep;
    return;
  }
  open.push_back({&element, written});
  file.Write("<");
  file.Write(written);
  file.Write(attributes);
  file.Write(">");
}

void PageWriter::PopTo(size_t depth) {
  while (open.size() > depth) {
    file.Write("</");
    file.Write(open.back().written);
    file.Write(">");
    open.pop_back();
    tooDeep = 0;
  }
}

// Where only items may stand, opens the item that text, or a block, is put in.
void PageWriter::OpenFlow() {
  while (tooDeep == 0 && !open.empty() && !open.back().element->implied.empty() &&
         open.back().written != "div") {
    Push(*FindElement(open.back().element->implied), open.back().element->implied, {});
  }
}

// A block ends the paragraph before it, as HTML has it.
void PageWriter::CloseParagraph() {
  for (size_t depth = open.size(); depth > 0; --depth) {
    const Element& candidate = *open[depth - 1].element;
    if (IsParagraph(candidate)) return PopTo(depth - 1);
    if (candidate.role != Role::kInline) return;
  }
}

// Closes what stands between an item and the nearest element that may hold it; false when there is
// none in reach.
bool PageWriter::MakeRoomFor(const Element& item) {
  for (size_t depth = open.size(); depth > 0; --depth) {
    const Element& candidate = *open[depth - 1].element;
    if (HoldsItem(candidate.name, item.name)) {
      PopTo(depth);
      return true;
    }
    if (HoldsItem(candidate.implied, item.name)) {
      PopTo(depth);
      Push(*FindElement(candidate.implied), candidate.implied, {});
      return true;
    }
    if (candidate.role == Role::kContainer || candidate.role == Role::kBody) break;
  }
  CloseParagraph();
  OpenFlow();
  return false;
}

}  // namespace kav_mobi
