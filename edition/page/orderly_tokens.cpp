// What the standard of HTML mends in tags, names and references is disorder here.
#include "edition/page/orderly_tokens.h"

#include <libxml/HTMLparser.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <utility>

#include "base/utf8.h"
#include "base/xml_text.h"
#include "edition/page/words.h"

namespace {

constexpr ByteSet kBlankSigns(kBlanks);
constexpr ByteSet kTextSigns("&\r");
constexpr ByteSet kLineSigns("\r");
constexpr ByteSet kValueEnds("\"'<=`> \t\r\n\f");
constexpr size_t kMostCompared = 40;  // each is compared with those before it
constexpr size_t kLongestName = 10;   // of a character

bool IsBlankSign(char c) {
  return kBlankSigns.Has(c);
}

bool IsLetterOrDigit(char c) {
  return IsLetter(c) || (c >= '0' && c <= '9');
}

bool IsNameSign(char c) {
  return IsLetterOrDigit(c) || c == '-' || c == '_' || c == ':' || c == '.';
}

char* TakeLowered(std::string_view name, Arena& arena) {
  char* copy = arena.Copy(name);
  for (char* c = copy; *c != '\0'; ++c) {
    if (*c >= 'A' && *c <= 'Z') *c = static_cast<char>(*c - 'A' + 'a');
  }
  return copy;
}

// Numbers that stand for another character than their own, or for none, are disorder.
bool IsPlainCharacter(std::uint32_t code) {
  const bool isControl =
      (code < 0x20 && code != '\n' && code != '\t') || (code >= 0x7F && code < 0xA0);
  return !isControl && !IsNoCharacter(code);
}

std::uint32_t NumberOf(std::string_view digits) {
  const bool isHex = digits.starts_with('x') || digits.starts_with('X');
  if (isHex) digits.remove_prefix(1);
  std::uint32_t number = 0;
  const auto [end, error] =
      std::from_chars(digits.data(), digits.data() + digits.size(), number, isHex ? 16 : 10);
  return error == std::errc() && end == digits.data() + digits.size() ? number : 0;
}

// HTML 5 has other characters by two of HTML 4's names.
std::uint32_t CharacterByName(std::string_view name) {
  if (name.size() > kLongestName || name == "lang" || name == "rang") return 0;
  const htmlEntityDesc* known = htmlEntityLookup(Xml(std::string(name)));
  return known == nullptr ? 0 : known->value;
}

// Of characters that need no semicolon behind their names.
bool BeginsWithOldName(std::string_view text) {
  constexpr std::string_view kInCapitals[] = {"AMP", "COPY", "GT", "LT", "QUOT", "REG"};
  for (size_t length = 2; length <= std::min(text.size(), kLongestName); ++length) {
    const std::string_view name = text.substr(0, length);
    const std::uint32_t code = CharacterByName(name);
    if ((code > 0 && code < 0x100) || IsOneOf(kInCapitals, name)) return true;
  }
  return false;
}

}  // namespace

OrderlyTokens::OrderlyTokens(std::string_view page, Arena& taken) : source(page), arena(taken) {}

OrderlyTokens::Kind OrderlyTokens::Next() {
  if (at == source.size()) return Kind::kEnd;
  if (source[at] != '<') {
    const size_t begin = at;
    at = std::min(source.find('<', at), source.size());
    return ReadText(source.substr(begin, at - begin), kTextSigns);
  }
  if (At(at + 1) == '!' || At(at + 1) == '?') return ReadComment();
  return ReadTag(At(at + 1) == '/');
}

OrderlyTokens::Kind OrderlyTokens::NextRaw(std::string_view element, bool hasReferences) {
  const size_t begin = at;
  bool isInComment = false;
  for (at = source.find('<', at); at != std::string_view::npos; at = source.find('<', at + 1)) {
    const std::string_view rest = source.substr(at + 1);
    const bool isEnd = rest.starts_with('/') &&
                       Lowered(rest.substr(1, element.size())) == element &&
                       !IsNameSign(At(at + 2 + element.size()));
    if (isEnd)
      return ReadText(source.substr(begin, at - begin), hasReferences ? kTextSigns : kLineSigns);
    isInComment |= rest.starts_with("!--");
    if (isInComment && Lowered(rest.substr(0, 6)) == "script") break;  // that may have its own end
  }
  return Kind::kDisorder;
}

OrderlyTokens::Kind OrderlyTokens::ReadText(std::string_view raw, const ByteSet& signs) {
  return Decode(raw, signs) ? Kind::kText : Kind::kDisorder;
}

// Sets the text. The signs are those that do not stand for themselves.
bool OrderlyTokens::Decode(std::string_view raw, const ByteSet& signs) {
  text = raw;
  size_t sign = signs.FirstIn(raw);
  if (sign == std::string_view::npos) return true;
  decoded.clear();
  while (sign != std::string_view::npos) {
    decoded += raw.substr(0, sign);
    raw.remove_prefix(sign);
    size_t taken = 1;
    if (raw.front() == '&') {
      taken = DecodeReference(raw);
      if (taken == 0) return false;
    } else if (!raw.starts_with("\r\n")) {
      decoded += '\n';
    }
    raw.remove_prefix(taken);
    sign = signs.FirstIn(raw);
  }
  decoded += raw;
  text = decoded;
  return true;
}

// How much of the text is one, 0 for disorder.
size_t OrderlyTokens::DecodeReference(std::string_view raw) {
  const bool isNumber = raw.substr(1).starts_with('#');
  size_t end = isNumber ? 2 : 1;
  while (end < raw.size() && IsLetterOrDigit(raw[end])) ++end;
  const std::string_view wanted = raw.substr(1, end - 1);
  if (end < raw.size() && raw[end] == ';' && !wanted.empty()) {
    const std::uint32_t code = isNumber ? NumberOf(wanted.substr(1)) : CharacterByName(wanted);
    if (!IsPlainCharacter(code)) return 0;
    AppendUtf8(code, decoded);
    return end + 1;
  }
  if (isNumber || BeginsWithOldName(wanted)) return 0;
  decoded += '&';
  return 1;
}

// Declarations in front count as comments, too, as they do for browsers.
OrderlyTokens::Kind OrderlyTokens::ReadComment() {
  const std::string_view rest = source.substr(at);
  if (rest.starts_with("<!--")) {
    const size_t end = rest.find("-->", 4);
    if (end == std::string_view::npos) return Kind::kDisorder;
    const std::string_view inside = rest.substr(4, end - 4);
    at += end + 3;
    const bool endsEarly = inside.starts_with('>') || inside.starts_with("->") ||
                           inside.find("--!") != std::string_view::npos;
    return endsEarly ? Kind::kDisorder : Kind::kComment;
  }
  const size_t end = rest.find('>');
  if (end == std::string_view::npos) return Kind::kDisorder;
  text = rest.substr(0, end + 1);
  at += end + 1;
  if (rest[1] == '?') return Kind::kComment;
  const bool isDoctype = Lowered(text.substr(0, 15)).starts_with("<!doctype html") &&
                         text.find_first_of("[<", 1) == std::string_view::npos;
  return isDoctype ? Kind::kDoctype : Kind::kDisorder;
}

void OrderlyTokens::SkipBlanks() {
  while (IsBlankSign(At(at))) ++at;
}

OrderlyTokens::Kind OrderlyTokens::ReadTag(bool isEnd) {
  const size_t begin = at;
  at += isEnd ? 2 : 1;
  if (!IsLetter(At(at))) return Kind::kDisorder;
  const size_t nameAt = at;
  while (IsNameSign(At(at))) ++at;
  name = source.substr(nameAt, at - nameAt);
  tag = gumbo_tagn_enum(name.data(), static_cast<unsigned>(name.size()));
  isSelfClosing = false;
  attributes.clear();
  if (!ReadAttributes()) return Kind::kDisorder;
  if (isEnd && (!attributes.empty() || isSelfClosing)) return Kind::kDisorder;
  text = source.substr(begin, at - begin);
  return isEnd ? Kind::kEndTag : Kind::kStartTag;
}

// Up to the end of the tag.
bool OrderlyTokens::ReadAttributes() {
  while (true) {
    const size_t before = at;
    SkipBlanks();
    isSelfClosing = At(at) == '/' && At(at + 1) == '>';
    if (isSelfClosing) ++at;
    if (At(at) == '>') {
      ++at;
      return true;
    }
    if (at == before || attributes.size() == kMostCompared || !ReadAttribute()) return false;
  }
}

bool OrderlyTokens::ReadAttribute() {
  const size_t begin = at;
  while (IsNameSign(At(at))) ++at;
  if (at == begin) return false;
  GumboAttribute attribute{};
  attribute.name = TakeLowered(source.substr(begin, at - begin), arena);
  const bool isRepeated = std::any_of(
      attributes.begin(), attributes.end(),
      [&](const GumboAttribute& other) { return std::strcmp(other.name, attribute.name) == 0; });
  if (isRepeated) return false;
  attribute.value = "";
  const size_t behind = at;
  SkipBlanks();
  if (At(at) != '=') {
    at = behind;
  } else if (!ReadValue(attribute)) {
    return false;
  }
  attributes.push_back(attribute);
  return true;
}

bool OrderlyTokens::ReadValue(GumboAttribute& attribute) {
  ++at;
  SkipBlanks();
  const char quote = At(at);
  size_t end = 0;
  size_t begin = at;
  if (quote == '"' || quote == '\'') {
    begin = ++at;
    end = source.find(quote, begin);
    if (end == std::string_view::npos) return false;
    at = end + 1;
  } else {
    end = kValueEnds.FirstIn(source, begin);
    if (end == begin || end == std::string_view::npos) return false;
    at = end;
  }
  if (!IsBlankSign(At(at)) && At(at) != '>' && At(at) != '/') return false;
  if (!Decode(source.substr(begin, end - begin), kTextSigns)) return false;
  attribute.value = arena.Copy(text);
  return true;
}

GumboVector OrderlyTokens::Attributes() const {
  const auto count = static_cast<unsigned>(attributes.size());
  if (count == 0) return {};
  auto* kept = static_cast<GumboAttribute*>(arena.Take(count * sizeof(GumboAttribute)));
  auto** places = static_cast<void**>(arena.Take(count * sizeof(void*)));
  for (unsigned i = 0; i < count; ++i) {
    kept[i] = attributes[i];
    places[i] = &kept[i];
  }
  return {places, count, count};
}
