// Scanning of tags and their attributes.
#include "base/mobi/tags.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "base/byte_set.h"

namespace kav_mobi {
namespace {

constexpr Bytes kHtmlBlanks = " \t\r\n\f";
constexpr Bytes kCommentStart = "<!--";
constexpr ByteSet kBlankBytes(kHtmlBlanks);
constexpr ByteSet kInTags("<>=");

char Lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool IsLetter(char c) {
  return Lower(c) >= 'a' && Lower(c) <= 'z';
}

bool IsBlank(char c) {
  return kBlankBytes.Has(c);
}

bool EndsName(char c) {
  return IsBlank(c) || c == '>' || c == '/' || c == '=';
}

// The position of the first byte from `at` on that is no blank.
size_t SkipBlanks(Bytes text, size_t at) {
  return std::min(text.find_first_not_of(kHtmlBlanks, at), text.size());
}

// The position of the last such byte; 0 when there is none.
size_t LastOf(Bytes text, char c) {
  if (text.empty()) return 0;
  const void* const found = memrchr(text.data(), c, text.size());
  return found == nullptr ? 0 : static_cast<size_t>(static_cast<const char*>(found) - text.data());
}

}  // namespace

bool SameName(Bytes a, Bytes b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return Lower(x) == Lower(y); });
}

TagScanner::TagScanner(Bytes markup)
    : text(markup),
      lastClose(LastOf(markup, '>')),
      lastQuote(LastOf(markup, '"')),
      lastApostrophe(LastOf(markup, '\'')) {}

bool TagScanner::Next(Tag& tag) {
  for (size_t at = text.find('<', position); at < lastClose; at = text.find('<', at + 1)) {
    if (ReadTag(at, tag)) {
      position = tag.end;
      return true;
    }
  }
  position = text.size();
  tag = Tag{};
  tag.begin = tag.end = text.size();
  return false;
}

bool TagScanner::ReadTag(size_t at, Tag& tag) {
  const char mark = at + 1 < text.size() ? text[at + 1] : '\0';
  if (mark == '!' || mark == '?') {
    ReadSpecial(at, tag);
    return true;
  }
  const size_t nameAt = at + (mark == '/' ? 2 : 1);
  if (nameAt >= text.size() || !IsLetter(text[nameAt])) return false;
  const size_t close = EndOfTag(nameAt);
  if (close == Bytes::npos) return false;

  size_t nameEnd = nameAt;
  while (!EndsName(text[nameEnd])) ++nameEnd;
  tag.begin = at;
  tag.end = close + 1;
  tag.kind = mark == '/' ? TagKind::kEnd : TagKind::kStart;
  tag.selfClosing = text[close - 1] == '/';
  tag.name = text.substr(nameAt, nameEnd - nameAt);
  tag.element = FindElement(tag.name);
  tag.attributes = text.substr(nameEnd, close - nameEnd);
  if (tag.element != nullptr && tag.element->role == Role::kDiscarded) SkipContent(tag);
  return true;
}

void TagScanner::ReadSpecial(size_t at, Tag& tag) {
  size_t end = Bytes::npos;
  if (text.compare(at, kCommentStart.size(), kCommentStart) == 0) {
    end = FindMark(commentEnd, at + kCommentStart.size());
    if (end != Bytes::npos) end += commentEnd.text.size();
  }
  if (end == Bytes::npos) end = text.find('>', at) + 1;
  tag = Tag{};
  tag.begin = at;
  tag.end = end;
}

// The ">" of the tag whose name begins at `at`; none when another "<" comes first. Inside a quoted
// value neither counts, unless the quotation never ends.
size_t TagScanner::EndOfTag(size_t at) const {
  while (true) {
    at = kInTags.FirstIn(text, at);
    if (at == Bytes::npos || text[at] == '<') return Bytes::npos;
    if (text[at] == '>') return at;
    at = SkipBlanks(text, at + 1);
    const char quote = at < text.size() ? text[at] : '\0';
    if (quote != '"' && quote != '\'') continue;
    const size_t last = quote == '"' ? lastQuote : lastApostrophe;
    at = at < last ? text.find(quote, at + 1) + 1 : at + 1;
  }
}

// Widens the start tag of a discarded element up to its end tag. A head also ends where a body
// begins.
void TagScanner::SkipContent(Tag& tag) {
  const bool isStart = tag.kind == TagKind::kStart && !tag.selfClosing;
  tag.kind = TagKind::kSkipped;
  if (!isStart) return;
  const Bytes name = tag.element->name;
  auto mark = std::find_if(elementEnds.begin(), elementEnds.end(),
                           [name](const Mark& known) { return known.text == name; });
  if (mark == elementEnds.end()) mark = elementEnds.insert(mark, Mark{name});
  size_t end = FindMark(*mark, tag.end);
  if (name == "head") end = std::min(end, FindMark(bodyStart, tag.end));
  if (end != Bytes::npos) tag.end = end;
}

size_t TagScanner::FindMark(Mark& mark, size_t from) const {
  if (mark.searched && mark.at >= from) return mark.at;
  const bool isElement = IsLetter(mark.text[0]);
  const std::string needle = isElement ? "</" + std::string(mark.text) : std::string(mark.text);
  const size_t length = needle.size();
  size_t at = text.find(needle[0], from);
  while (at != Bytes::npos && !SameName(text.substr(at, length), needle)) {
    at = text.find(needle[0], at + 1);
  }
  mark.at = at;
  mark.searched = true;
  return at;
}

void Attributes::Read(Bytes text) {
  list.clear();
  size_t at = 0;
  while (true) {
    while (at < text.size() && EndsName(text[at])) ++at;
    if (at == text.size()) return;
    const size_t nameAt = at;
    while (at < text.size() && !EndsName(text[at])) ++at;
    const Bytes name = text.substr(nameAt, at - nameAt);
    size_t valueAt = SkipBlanks(text, at);
    if (valueAt == text.size() || text[valueAt] != '=') {
      list.emplace_back(name, Bytes());
      continue;
    }
    valueAt = SkipBlanks(text, valueAt + 1);
    const char quote = valueAt < text.size() ? text[valueAt] : '\0';
    const bool quoted =
        (quote == '"' || quote == '\'') && text.find(quote, valueAt + 1) != Bytes::npos;
    if (quoted) ++valueAt;
    const size_t end =
        quoted ? text.find(quote, valueAt) : text.find_first_of(kHtmlBlanks, valueAt);
    list.emplace_back(name, text.substr(valueAt, end - valueAt));
    at = end == Bytes::npos ? text.size() : end + (quoted ? 1 : 0);
  }
}

Bytes Attributes::Get(Bytes name) const {
  const auto found =
      std::find_if(begin(), end(), [name](const Attribute& a) { return SameName(a.first, name); });
  return found == end() ? Bytes() : found->second;
}

}  // namespace kav_mobi
