// The order of elements on the page, and its text.
#include "page_writer.h"

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

bool isParagraph(const Element& element) {
  return element.role == Role::kParagraph;
}

bool isNameStart(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// The number of a reference such as "&#146;" or "&#x92;" at the start of text, and its length; none
// for another text.
struct Reference {
  int number = -1;
  size_t length = 0;
};
Reference numericReference(std::string_view text) {
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

OutputFile::OutputFile(const std::string& path)
    : file_(fopen(path.c_str(), "wbe")), failed_(!file_) {
  if (file_) failed_ = setvbuf(file_.get(), nullptr, _IOFBF, kBufferSize) != 0;
}

void OutputFile::write(std::string_view text) {
  if (failed_ || text.empty()) return;
  failed_ = fwrite(text.data(), 1, text.size(), file_.get()) != text.size();
}

bool OutputFile::close() {
  if (file_ && fclose(file_.release()) != 0) failed_ = true;
  return !failed_;
}

PageWriter::PageWriter(OutputFile& file, uint32_t codePage) : file_(file), decoder_(codePage) {}

void PageWriter::begin(std::string_view title) {
  file_.write("<!DOCTYPE html>\n<html>\n<head>\n<meta charset=\"utf-8\">\n<title>");
  escaped_.clear();
  for (const char c : title) {
    if (c == '&') {
      escaped_ += "&amp;";
    } else if (c == '<') {
      escaped_ += "&lt;";
    } else {
      escaped_ += c;
    }
  }
  file_.write(escaped_);
  file_.write("</title>\n</head>\n<body>\n");
}

void PageWriter::end() {
  popTo(0);
  file_.write("\n</body>\n</html>\n");
}

void PageWriter::text(Bytes raw) {
  if (raw.empty()) return;
  if (raw.find_first_not_of(" \t\r\n") != Bytes::npos) openFlow();
  decoded_.clear();
  decoder_.append(raw, decoded_);
  escaped_.clear();
  escape(decoded_, escaped_);
  file_.write(escaped_);
}

std::string PageWriter::attributeValue(Bytes raw) {
  decoded_.clear();
  decoder_.append(raw, decoded_);
  escaped_.clear();
  escape(decoded_, escaped_);
  std::string value;
  for (const char c : escaped_) {
    if (c == '"') {
      value += "&quot;";
    } else {
      value += c;
    }
  }
  return value;
}

// References stay references; a "<" or "&" that stands for itself becomes one.
void PageWriter::escape(std::string_view utf8, std::string& out) const {
  size_t copied = 0;
  for (size_t at = utf8.find_first_of("<&"); at != std::string_view::npos;
       at = utf8.find_first_of("<&", std::max(copied, at + 1))) {
    const std::string_view rest = utf8.substr(at);
    std::string_view replacement;
    size_t length = 1;
    std::string character;
    if (rest[0] == '<') {
      replacement = "&lt;";
    } else if (const Reference reference = numericReference(rest); reference.length != 0) {
      if (reference.number < kFirstC1 || reference.number > kLastC1) continue;
      const char byte = static_cast<char>(reference.number);
      TextDecoder(MOBI_CP1252).append({&byte, 1}, character);
      replacement = character;
      length = reference.length;
    } else if (rest.size() < 2 || !isNameStart(rest[1])) {
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

void PageWriter::start(const Element& element, std::string_view attributes) {
  std::string_view written = element.written;
  switch (element.role) {
    case Role::kBody:
      popTo(0);
      break;
    case Role::kItem:
      // An item outside of its container is a block like any other.
      if (!makeRoomFor(element)) written = "div";
      break;
    case Role::kInline:
      openFlow();
      break;
    default:
      closeParagraph();
      openFlow();
  }
  push(element, written, attributes);
}

void PageWriter::finish(const Element& element) {
  if (tooDeep_ > 0) {
    --tooDeep_;
    return;
  }
  for (size_t depth = open_.size(); depth > 0; --depth) {
    const Element& candidate = *open_[depth - 1].element;
    if (&candidate == &element) return popTo(depth - 1);
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

void PageWriter::single(const Element& element, std::string_view attributes) {
  if (element.role == Role::kRule || element.role == Role::kPageBreak) closeParagraph();
  openFlow();
  file_.write("<");
  file_.write(element.written);
  file_.write(attributes);
  file_.write(element.role == Role::kPageBreak ? "></p>" : ">");
}

void PageWriter::inlineMarkup(std::string_view markup) {
  openFlow();
  file_.write(markup);
}

void PageWriter::push(const Element& element, std::string_view written,
                      std::string_view attributes) {
  if (open_.size() == kMaxDepth) {
    ++tooDeep_;
    return;
  }
  open_.push_back({&element, written});
  file_.write("<");
  file_.write(written);
  file_.write(attributes);
  file_.write(">");
}

void PageWriter::popTo(size_t depth) {
  while (open_.size() > depth) {
    file_.write("</");
    file_.write(open_.back().written);
    file_.write(">");
    open_.pop_back();
    tooDeep_ = 0;
  }
}

// Where only items may stand, opens the item that text, or a block, is put in.
void PageWriter::openFlow() {
  while (tooDeep_ == 0 && !open_.empty() && !open_.back().element->implied.empty() &&
         open_.back().written != "div") {
    push(*findElement(open_.back().element->implied), open_.back().element->implied, {});
  }
}

// A block ends the paragraph before it, as HTML has it.
void PageWriter::closeParagraph() {
  for (size_t depth = open_.size(); depth > 0; --depth) {
    const Element& candidate = *open_[depth - 1].element;
    if (isParagraph(candidate)) return popTo(depth - 1);
    if (candidate.role != Role::kInline) return;
  }
}

// Closes what stands between an item and the nearest element that may hold it; false when there is
// none in reach.
bool PageWriter::makeRoomFor(const Element& item) {
  for (size_t depth = open_.size(); depth > 0; --depth) {
    const Element& candidate = *open_[depth - 1].element;
    if (holdsItem(candidate.name, item.name)) {
      popTo(depth);
      return true;
    }
    if (holdsItem(candidate.implied, item.name)) {
      popTo(depth);
      push(*findElement(candidate.implied), candidate.implied, {});
      return true;
    }
    if (candidate.role == Role::kContainer || candidate.role == Role::kBody) break;
  }
  closeParagraph();
  openFlow();
  return false;
}

}  // namespace kav_mobi
