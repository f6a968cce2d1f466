// The order of elements on the page, and its text.
#include "platform/kav_mobi/page_writer.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>

namespace kav_mobi {
namespace {

// libxml2's HTML parser stops reading at 256; what a page is wrapped in later needs some of them.
constexpr size_t kMaxDepth = 100;
constexpr size_t kBufferSize = 1 << 16;

// Numeric references in this range mean characters of code page 1252 wherever they are met.
constexpr int kFirstC1 = 0x80;
constexpr int kLastC1 = 0x9F;

bool IsParagraph(const Element& element) {
  return element.role == Role::kParagraph;
}

bool IsNameStart(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// The number of a reference such as "&#146;" or "&#x92;" at the start of text, and its length; none
// for another text.
struct Reference {
  int number = -1;
  size_t length = 0;
};
Reference NumericReference(std::string_view text) {
  constexpr std::string_view kStart = "&#";
  Reference reference;
  if (!text.starts_with(kStart)) return reference;
  const bool isHex = text.size() > 2 && (text[2] == 'x' || text[2] == 'X');
  const char* const digits = text.data() + kStart.size() + (isHex ? 1 : 0);
  const char* const last = text.data() + std::min<size_t>(text.size(), 12);
  if (digits >= last) return reference;
  int number = 0;
  const auto [end, error] = std::from_chars(digits, last, number, isHex ? 16 : 10);
  if (error != std::errc() || number < 0) return reference;
  reference.number = number;
  reference.length = static_cast<size_t>(end - text.data());
  if (reference.length < text.size() && text[reference.length] == ';') ++reference.length;
  return reference;
}

}  // namespace

OutputFile::OutputFile(const std::string& path) : file(fopen(path.c_str(), "wbe")), failed(!file) {
  if (file) failed = setvbuf(file.get(), nullptr, _IOFBF, kBufferSize) != 0;
}

void OutputFile::Write(std::string_view text) {
  if (failed || text.empty()) return;
  failed = fwrite(text.data(), 1, text.size(), file.get()) != text.size();
}

bool OutputFile::Close() {
  if (file && fclose(file.release()) != 0) failed = true;
  return !failed;
}

PageWriter::PageWriter(OutputFile& output, uint32_t codePage) : file(output), decoder(codePage) {}

void PageWriter::Begin(std::string_view title) {
  file.Write("<!DOCTYPE html>\n<html>\n<head>\n<meta charset=\"utf-8\">\n<title>");
  escaped.clear();
  for (const char c : title) {
    if (c == '&') {
      escaped += "&amp;";
    } else if (c == '<') {
      escaped += "&lt;";
    } else {
      escaped += c;
    }
  }
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
  Escape(decoded, escaped);
  file.Write(escaped);
}

std::string PageWriter::AttributeValue(Bytes raw) {
  decoded.clear();
  decoder.Append(raw, decoded);
  escaped.clear();
  Escape(decoded, escaped);
  std::string value;
  for (const char c : escaped) {
    if (c == '"') {
      value += "&quot;";
    } else {
      value += c;
    }
  }
  return value;
}

// References stay references; a "<" or "&" that stands for itself becomes one.
void PageWriter::Escape(std::string_view utf8, std::string& out) const {
  size_t copied = 0;
  for (size_t at = utf8.find_first_of("<&"); at != std::string_view::npos;
       at = utf8.find_first_of("<&", std::max(copied, at + 1))) {
    const std::string_view rest = utf8.substr(at);
    std::string_view replacement;
    size_t length = 1;
    std::string character;
    if (rest[0] == '<') {
      replacement = "&lt;";
    } else if (const Reference reference = NumericReference(rest); reference.length != 0) {
      if (reference.number < kFirstC1 || reference.number > kLastC1) continue;
      const char byte = static_cast<char>(reference.number);
      TextDecoder(MOBI_CP1252).Append({&byte, 1}, character);
      replacement = character;
      length = reference.length;
    } else if (rest.size() < 2 || !IsNameStart(rest[1])) {
      replacement = "&amp;";
    } else {
      continue;
    }
    out.append(utf8.substr(copied, at - copied));
    out.append(replacement);
    copied = at + length;
  }
  out.append(utf8.substr(copied));
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
  if (open.size() == kMaxDepth) {
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
