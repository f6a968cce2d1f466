// What a page says of itself and of its neighbours.
#include "edition/page/page_head.h"
#include "edition/page/words.h"

#include <algorithm>
#include <iterator>

namespace {

void SetOnce(std::string& text, std::string_view value) {
  if (text.empty()) text = OneLine(value);
}

void AddAuthor(Metadata& facts, std::string_view value) {
  const std::string name = OneLine(value);
  const bool isAddress = name.find("://") != std::string::npos;
  const bool isKnown =
      std::any_of(facts.contributors.begin(), facts.contributors.end(),
                  [&](const Contributor& contributor) { return contributor.name == name; });
  if (!name.empty() && !isAddress && !isKnown)
    facts.contributors.push_back({name, {}, kAuthorRole});
}

void AddSubjects(Metadata& facts, std::string_view value) {
  constexpr size_t kMost = 50;
  while (!value.empty() && facts.subjects.size() < kMost) {
    const size_t comma = std::min(value.find_first_of(",;"), value.size());
    const std::string subject = OneLine(value.substr(0, comma));
    if (!subject.empty()) facts.subjects.push_back(subject);
    value.remove_prefix(std::min(comma + 1, value.size()));
  }
}

// "2023-05-01T12:00:00Z" begins with its day.
void SetDate(Metadata& facts, std::string_view value) {
  constexpr size_t kDay = 10;
  const std::string date = OneLine(value).substr(0, kDay);
  if (facts.date.empty() && IsDate(date)) facts.date = date;
}

void SetLanguage(Metadata& facts, std::string_view value) {
  std::string tag = OneLine(value.substr(0, value.find(',')));
  std::replace(tag.begin(), tag.end(), '_', '-');
  if (facts.language.empty() && IsLanguageTag(tag)) facts.language = tag;
}

template <std::string Metadata::*text>
void Set(Metadata& facts, std::string_view value) {
  SetOnce(facts.*text, value);
}

void AddIsbn(Metadata& facts, std::string_view value) {
  const std::string number = OneLine(value);
  constexpr std::string_view kPrefix = "urn:isbn:";
  const bool isUrn = Lowered(number).starts_with(kPrefix);
  if (isUrn) facts.identifiers.push_back({kIsbnScheme, number.substr(kPrefix.size())});
}

// Names of meta elements, in lower case; of those with the same meaning the first one counts.
constexpr struct {
  std::string_view name;
  void (*take)(Metadata& facts, std::string_view value);
} kMeta[] = {
    {"author", AddAuthor},
    {"article:author", AddAuthor},
    {"citation_author", AddAuthor},
    {"citation_date", SetDate},
    {"citation_title", Set<&Metadata::title>},
    {"content-language", SetLanguage},
    {"copyright", Set<&Metadata::rights>},
    {"date", SetDate},
    {"article:published_time", SetDate},
    {"dc.creator", AddAuthor},
    {"dc.date", SetDate},
    {"dc.description", Set<&Metadata::description>},
    {"dc.identifier", AddIsbn},
    {"dc.language", SetLanguage},
    {"dc.publisher", Set<&Metadata::publisher>},
    {"dc.rights", Set<&Metadata::rights>},
    {"dc.subject", AddSubjects},
    {"dc.title", Set<&Metadata::title>},
    {"dcterms.created", SetDate},
    {"dcterms.creator", AddAuthor},
    {"dcterms.title", Set<&Metadata::title>},
    {"description", Set<&Metadata::description>},
    {"keywords", AddSubjects},
    {"og:description", Set<&Metadata::description>},
    {"og:locale", SetLanguage},
    {"og:title", Set<&Metadata::title>},
};

void TakeMeta(const GumboNode& element, HtmlPage& page) {
  std::string name = Lowered(AttributeOf(element, "name"));
  if (name.empty()) name = Lowered(AttributeOf(element, "property"));
  if (name.empty()) name = Lowered(AttributeOf(element, "http-equiv"));
  const auto* row = std::find_if(std::begin(kMeta), std::end(kMeta),
                                 [&](const auto& known) { return known.name == name; });
  if (row != std::end(kMeta)) row->take(page.facts, AttributeOf(element, "content"));
}

bool HasWord(std::string_view words, std::string_view word) {
  const std::string all = Lowered(OneLine(words));
  for (size_t at = 0; (at = all.find(word, at)) != std::string::npos; ++at) {
    const size_t end = at + word.size();
    if ((at == 0 || all[at - 1] == ' ') && (end == all.size() || all[end] == ' ')) return true;
  }
  return false;
}

bool IsForScreens(std::string_view media) {
  const std::string lowered = Lowered(media);
  return lowered.empty() || lowered.find("screen") != std::string::npos ||
         lowered.find("all") != std::string::npos || lowered.starts_with("(");
}

void TakeLink(const GumboNode& element, HtmlPage& page) {
  const std::string_view rel = AttributeOf(element, "rel");
  const std::string_view href = AttributeOf(element, "href");
  if (href.empty()) return;
  const bool isSheet = HasWord(rel, "stylesheet") && !HasWord(rel, "alternate");
  if (isSheet && IsForScreens(AttributeOf(element, "media"))) {
    page.sheets.push_back({false, std::string(href)});
  }
  if (HasWord(rel, "next")) SetOnce(page.next, href);
  if (HasWord(rel, "up")) SetOnce(page.up, href);
}

void TakeAnchor(const GumboNode& element, HtmlPage& page) {
  const char* rel = FindAttribute(element, "rel");
  const char* key = FindAttribute(element, "accesskey");
  const bool isNext =
      (rel != nullptr && HasWord(rel, "next")) || (key != nullptr && key == std::string_view("n"));
  const bool isUp =
      (rel != nullptr && HasWord(rel, "up")) || (key != nullptr && key == std::string_view("u"));
  if (isNext) SetOnce(page.next, AttributeOf(element, "href"));
  if (isUp) SetOnce(page.up, AttributeOf(element, "href"));
}

}  // namespace

void ReadHead(const GumboNode& root, HtmlPage& page) {
  std::string title;
  const auto enter = [&](const GumboNode& node) {
    if (!IsElement(node) || node.v.element.tag_namespace != GUMBO_NAMESPACE_HTML) return false;
    switch (node.v.element.tag) {
      case GUMBO_TAG_HTML: {
        std::string_view language = AttributeOf(node, "lang");
        if (language.empty()) language = AttributeOf(node, "xml:lang");
        SetLanguage(page.facts, language);
        return true;
      }
      case GUMBO_TAG_TITLE:
        SetOnce(title, TextOf(node));
        return false;
      case GUMBO_TAG_BASE:
        SetOnce(page.base, AttributeOf(node, "href"));
        return false;
      case GUMBO_TAG_META:
        TakeMeta(node, page);
        return false;
      case GUMBO_TAG_LINK:
        TakeLink(node, page);
        return false;
      case GUMBO_TAG_STYLE:
        if (IsForScreens(AttributeOf(node, "media"))) page.sheets.push_back({true, TextOf(node)});
        return false;
      case GUMBO_TAG_A:
        TakeAnchor(node, page);
        return true;
      case GUMBO_TAG_TEMPLATE:
      case GUMBO_TAG_SCRIPT:
        return false;
      default:
        return true;
    }
  };
  Walk(root, enter, [](const GumboNode&) {});
  if (!title.empty()) page.facts.title = title;
}
