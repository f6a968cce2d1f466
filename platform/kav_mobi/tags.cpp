// Scanning of tags and their attributes.
#include "tags.h"

#include <algorithm>
#include <string>

namespace kav_mobi {
namespace {

constexpr Bytes kBlanks = " \t\r\n\f";
constexpr Bytes kCommentStart = "<!--";

char lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool isLetter(char c) {
  return lower(c) >= 'a' && lower(c) <= 'z';
}

bool isBlank(char c) {
  return kBlanks.find(c) != Bytes::npos;
}

bool endsName(char c) {
  return isBlank(c) || c == '>' || c == '/' || c == '=';
}

// The position of the first byte from `at` on that is no blank.
size_t skipBlanks(Bytes text, size_t at) {
  return std::min(text.find_first_not_of(kBlanks, at), text.size());
}

// The position of the last such byte; 0 when there is none.
size_t lastOf(Bytes text, char c) {
  const size_t at = text.rfind(c);
  return at == Bytes::npos ? 0 : at;
}

}  // namespace

bool sameName(Bytes a, Bytes b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return lower(x) == lower(y); });
}

TagScanner::TagScanner(Bytes text, size_t from)
    : text_(text),
      at_(from),
      lastClose_(lastOf(text, '>')),
      lastQuote_(lastOf(text, '"')),
      lastApostrophe_(lastOf(text, '\'')) {}

bool TagScanner::next(Tag& tag) {
  for (size_t at = text_.find('<', at_); at < lastClose_; at = text_.find('<', at + 1)) {
    if (readTag(at, tag)) {
      at_ = tag.end;
      return true;
    }
  }
  at_ = text_.size();
  tag = Tag{};
  tag.begin = tag.end = text_.size();
  return false;
}

bool TagScanner::readTag(size_t at, Tag& tag) {
  const char mark = at + 1 < text_.size() ? text_[at + 1] : '\0';
  if (mark == '!' || mark == '?') {
    readSpecial(at, tag);
    return true;
  }
  const size_t nameAt = at + (mark == '/' ? 2 : 1);
  if (nameAt >= text_.size() || !isLetter(text_[nameAt])) return false;
  const size_t close = endOfTag(nameAt);
  if (close == Bytes::npos) return false;

  size_t nameEnd = nameAt;
  while (!endsName(text_[nameEnd])) ++nameEnd;
  tag.begin = at;
  tag.end = close + 1;
  tag.kind = mark == '/' ? TagKind::kEnd : TagKind::kStart;
  tag.selfClosing = text_[close - 1] == '/';
  tag.name = text_.substr(nameAt, nameEnd - nameAt);
  tag.element = findElement(tag.name);
  tag.attributes = text_.substr(nameEnd, close - nameEnd);
  if (tag.element != nullptr && tag.element->role == Role::kDiscarded) skipContent(tag);
  return true;
}

void TagScanner::readSpecial(size_t at, Tag& tag) {
  size_t end = Bytes::npos;
  if (text_.compare(at, kCommentStart.size(), kCommentStart) == 0) {
    end = findMark(commentEnd_, at + kCommentStart.size());
    if (end != Bytes::npos) end += commentEnd_.text.size();
  }
  if (end == Bytes::npos) end = text_.find('>', at) + 1;
  tag = Tag{};
  tag.begin = at;
  tag.end = end;
}

// The ">" of the tag whose name begins at `at`; none when another "<" comes first. Inside a quoted
// value neither counts, unless the quotation never ends.
size_t TagScanner::endOfTag(size_t at) const {
  while (true) {
    at = text_.find_first_of("<>=", at);
    if (at == Bytes::npos || text_[at] == '<') return Bytes::npos;
    if (text_[at] == '>') return at;
    at = skipBlanks(text_, at + 1);
    const char quote = at < text_.size() ? text_[at] : '\0';
    if (quote != '"' && quote != '\'') continue;
    const size_t last = quote == '"' ? lastQuote_ : lastApostrophe_;
    at = at < last ? text_.find(quote, at + 1) + 1 : at + 1;
  }
}

// Widens the start tag of a discarded element up to its end tag. A head also ends where a body
// begins.
void TagScanner::skipContent(Tag& tag) {
  const bool isStart = tag.kind == TagKind::kStart && !tag.selfClosing;
  tag.kind = TagKind::kSkipped;
  if (!isStart) return;
  const Bytes name = tag.element->name;
  auto mark = std::find_if(elementEnds_.begin(), elementEnds_.end(),
                           [name](const Mark& known) { return known.text == name; });
  if (mark == elementEnds_.end()) mark = elementEnds_.insert(mark, Mark{name});
  size_t end = findMark(*mark, tag.end);
  if (name == "head") end = std::min(end, findMark(bodyStart_, tag.end));
  if (end != Bytes::npos) tag.end = end;
}

size_t TagScanner::findMark(Mark& mark, size_t from) const {
  if (mark.searched && mark.at >= from) return mark.at;
  const bool isElement = isLetter(mark.text[0]);
  const std::string needle = isElement ? "</" + std::string(mark.text) : std::string(mark.text);
  const size_t length = needle.size();
  size_t at = text_.find(needle[0], from);
  while (at != Bytes::npos && !sameName(text_.substr(at, length), needle)) {
    at = text_.find(needle[0], at + 1);
  }
  mark.at = at;
  mark.searched = true;
  return at;
}

void Attributes::read(Bytes text) {
  list_.clear();
  size_t at = 0;
  while (true) {
    while (at < text.size() && endsName(text[at])) ++at;
    if (at == text.size()) return;
    const size_t nameAt = at;
    while (at < text.size() && !endsName(text[at])) ++at;
    const Bytes name = text.substr(nameAt, at - nameAt);
    size_t valueAt = skipBlanks(text, at);
    if (valueAt == text.size() || text[valueAt] != '=') {
      list_.emplace_back(name, Bytes());
      continue;
    }
    valueAt = skipBlanks(text, valueAt + 1);
    const char quote = valueAt < text.size() ? text[valueAt] : '\0';
    const bool quoted =
        (quote == '"' || quote == '\'') && text.find(quote, valueAt + 1) != Bytes::npos;
    if (quoted) ++valueAt;
    const size_t end = quoted ? text.find(quote, valueAt) : text.find_first_of(kBlanks, valueAt);
    list_.emplace_back(name, text.substr(valueAt, end - valueAt));
    at = end == Bytes::npos ? text.size() : end + (quoted ? 1 : 0);
  }
}

Bytes Attributes::get(Bytes name) const {
  const auto found =
      std::find_if(begin(), end(), [name](const Attribute& a) { return sameName(a.first, name); });
  return found == end() ? Bytes() : found->second;
}

}  // namespace kav_mobi
