// Finds ids again in documents that have become several pages.
#include "edition/epub/page_links.h"

#include <charconv>
#include <optional>

#include "edition/epub/page.h"

namespace {

bool IsBlank(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

// Walks over the attributes of a name in well-formed markup: visit(begin, length) of each value,
// which says whether to go on.
template <typename Visitor>
void ForEachAttribute(std::string_view markup, std::string_view name, Visitor visit) {
  const size_t size = markup.size();
  // Everything of every page comes by here, so each character is looked at once.
  const auto find = [&](size_t from, auto isIt) {
    while (from < size && !isIt(markup[from])) ++from;
    return from;
  };
  size_t at = 0;
  while ((at = markup.find('<', at)) != std::string_view::npos) {
    at = find(at, [](char c) { return c == '>' || IsBlank(c); });
    while (at < size && markup[at] != '>') {
      const size_t begin = find(at, [](char c) { return !IsBlank(c); });
      const size_t behind = find(begin, [](char c) { return c == '=' || c == '>' || IsBlank(c); });
      const size_t equals = find(behind, [](char c) { return !IsBlank(c); });
      if (equals == size || markup[equals] != '=') {
        at = find(equals, [](char c) { return c == '>'; });
        break;
      }
      const size_t quote = find(equals, [](char c) { return c == '"' || c == '\''; });
      if (quote == size) return;
      const size_t end = markup.find(markup[quote], quote + 1);
      if (end == std::string_view::npos) return;
      if (markup.substr(begin, behind - begin) == name && !visit(quote + 1, end - quote - 1)) {
        return;
      }
      at = end + 1;
    }
  }
}

struct Target {
  size_t document;
  std::string_view id;
};

// What a link leads to, where that is an id in a document of the book.
std::optional<Target> TargetOf(std::string_view link, size_t document) {
  const size_t mark = link.find('#');
  if (mark == std::string_view::npos) return std::nullopt;
  const std::string_view id = link.substr(mark + 1);
  if (mark == 0) return Target{document, id};
  if (!link.starts_with(kPagePrefix)) return std::nullopt;
  size_t number = 0;
  const char* digits = link.data() + std::string_view(kPagePrefix).size();
  const auto [end, error] = std::from_chars(digits, link.data() + mark, number);
  const bool isPage =
      error == std::errc() && number > 0 &&
      std::string_view(end, static_cast<size_t>(link.data() + mark - end)) == kPageSuffix;
  return isPage ? std::optional(Target{number - 1, id}) : std::nullopt;
}

}  // namespace

std::string PageLinks::Key(size_t document, std::string_view id) {
  return std::to_string(document).append("#").append(id);
}

void PageLinks::NoteIds(size_t document, size_t page, std::string_view body) {
  ForEachAttribute(body, "id", [&](size_t begin, size_t length) {
    pages.emplace(Key(document, body.substr(begin, length)), page);
    return true;
  });
}

size_t PageLinks::PageOf(size_t document, std::string_view id) const {
  const auto found = pages.find(Key(document, id));
  return found == pages.end() ? 0 : found->second;
}

bool PageLinks::Resolve(size_t document, size_t page, size_t unfinished, std::string& body) const {
  if (body.find("href=") == std::string::npos) return true;
  std::string resolved;
  size_t taken = 0;
  bool isComplete = true;
  ForEachAttribute(body, "href", [&](size_t begin, size_t length) {
    const std::optional<Target> target =
        TargetOf(std::string_view(body).substr(begin, length), document);
    if (!target) return true;
    const auto known = pages.find(Key(target->document, target->id));
    if (known == pages.end() && target->document >= unfinished) {
      isComplete = false;
      return false;
    }
    const size_t there = known == pages.end() ? 0 : known->second;
    const bool isHere = target->document == document && there == page;
    resolved.append(body, taken, begin - taken);
    if (!isHere) resolved += PageName(target->document, there);
    resolved.append("#").append(target->id);
    taken = begin + length;
    return true;
  });
  if (!isComplete) return false;
  if (taken > 0) body = resolved.append(body, taken);
  return true;
}
