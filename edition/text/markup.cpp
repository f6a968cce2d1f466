// Escapes at the speed of reading: most bytes need nothing.
#include "edition/text/markup.h"

#include <algorithm>
#include <array>

#include "edition/text/characters.h"

namespace {

constexpr std::array<std::string_view, 13> kTags = {
    "",          "<em>",   "</em>",  "<em class=\"dots\">", "</em>", "<strong>",
    "</strong>", "<sub>",  "</sub>",
    "<sup>",  // TAB and line feed stand between this and its end in the table
    "",          "</sup>", "<br />",
};

constexpr auto kIsSpecial = [] {
  std::array<bool, 256> special = {};
  for (size_t i = 0; i < 0x20; ++i) special[i] = true;
  special['&'] = special['<'] = special['>'] = special['"'] = true;
  special[0xEF] = true;  // U+FFFE and U+FFFF begin so
  return special;
}();

bool IsSpecial(char c) {
  return kIsSpecial[static_cast<unsigned char>(c)];
}

bool IsNoCharacter(std::string_view text) {
  return text.starts_with("\xEF\xBF\xBE") || text.starts_with("\xEF\xBF\xBF");
}

void AppendSpecial(char c, std::string& markup) {
  switch (c) {
    case '&':
      markup += "&amp;";
      break;
    case '<':
      markup += "&lt;";
      break;
    case '>':
      markup += "&gt;";
      break;
    case '\t':
    case '\n':
    case '"':
    case '\xEF':
      markup += c;
      break;
    default:
      if (const auto mark = static_cast<unsigned char>(c); mark < kTags.size()) {
        markup += kTags[mark];
      }
  }
}

}  // namespace

void DropControls(std::string& text) {
  const auto isDropped = [](char c) { return c >= 0 && c < ' ' && c != '\t'; };
  unsigned char controls = 0;  // counted without a branch for each character
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    controls |= static_cast<unsigned char>((byte < ' ' ? 1U : 0U) & (byte != '\t' ? 1U : 0U));
  }
  if (controls != 0) std::erase_if(text, isDropped);
  for (size_t at = 0; (at = text.find("\xEF\xBF", at)) != std::string::npos;) {
    if (IsNoCharacter(std::string_view(text).substr(at))) {
      text.erase(at, 3);
    } else {
      ++at;
    }
  }
}

void AppendMarkup(std::string_view text, std::string& markup) {
  while (!text.empty()) {
    size_t plain = 0;
    while (plain < text.size() && !IsSpecial(text[plain])) ++plain;
    markup.append(text, 0, plain);
    if (plain == text.size()) return;
    AppendSpecial(text[plain], markup);
    text.remove_prefix(plain + 1);
  }
}

void MarkEmphasis(std::string& text) {
  size_t open = text.find('_');
  while (open != std::string::npos) {
    const bool opens = open + 1 < text.size() && text[open + 1] != '_' &&
                       !IsBlank(CharacterAt(text, open + 1).code) &&
                       (open == 0 || (!IsLetter(LastOf(std::string_view(text).substr(0, open))) &&
                                      text[open - 1] != '_'));
    size_t close = std::string::npos;
    if (opens) {
      close = text.find('_', open + 1);
      while (close != std::string::npos) {
        const char32_t before = LastOf(std::string_view(text).substr(0, close));
        const char32_t behind = close + 1 < text.size() ? CharacterAt(text, close + 1).code : U' ';
        if (!IsBlank(before) && !IsLetter(behind) && !IsDigit(behind) && behind != '_') break;
        close = text.find('_', close + 1);
      }
    }
    if (close == std::string::npos) {
      open = text.find('_', open + 1);
      continue;
    }
    text[open] = static_cast<char>(Mark::kEmBegin);
    text[close] = static_cast<char>(Mark::kEmEnd);
    open = text.find('_', close + 1);
  }
}
