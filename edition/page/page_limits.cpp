// Follows the tags of a page as far as it takes to know that few elements are open at any place.
// Where it cannot know, it takes them for open.
#include "edition/page/page_limits.h"

#include <strings.h>

#include <algorithm>
#include <iterator>
#include <span>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "edition/page/words.h"

namespace {

constexpr size_t kDeepest = 400;  // browsers stop at 512
constexpr size_t kMostAttributes = 200;
constexpr size_t kMostUnended = 16;            // formatting elements that go on behind their blocks
constexpr size_t kMostUnendedAlike = 3;        // that the parser takes up again
constexpr std::string_view kHollow = "<img ";  // holds nothing and, without a source, shows nothing

using Names = const std::string_view[];

constexpr Names kVoid = {"area",  "base",  "basefont", "bgsound", "br",    "col",    "embed",
                         "frame", "hr",    "image",    "img",     "input", "keygen", "link",
                         "meta",  "param", "source",   "track",   "wbr"};

// One of them ends another, if no element that is followed here stands between.
constexpr Names kSelfEnding = {"a",    "body",  "caption", "colgroup", "dd",     "dt", "head",
                               "html", "li",    "nobr",    "optgroup", "option", "p",  "tbody",
                               "td",   "tfoot", "th",      "thead",    "tr"};

constexpr Names kFormattingNames = {"b", "big",   "code",   "em",     "font", "i",
                                    "s", "small", "strike", "strong", "tt",   "u"};

// Their ends end all that is open in them.
constexpr Names kBlockNames = {
    "address", "article", "aside",  "blockquote", "button",   "center",     "details",
    "dialog",  "dir",     "div",    "dl",         "fieldset", "figcaption", "figure",
    "footer",  "form",    "h1",     "h2",         "h3",       "h4",         "h5",
    "h6",      "header",  "hgroup", "listing",    "main",     "menu",       "nav",
    "ol",      "pre",     "search", "section",    "summary",  "ul"};

// No end of an outer element counts in them.
constexpr Names kBarriers = {"applet", "marquee", "math",  "object",
                             "select", "svg",     "table", "template"};

constexpr Names kForeignNames = {"math", "svg"};
constexpr Names kRaw = {"iframe", "noembed",  "noframes", "script",
                        "style",  "textarea", "title",    "xmp"};

// In these, tags may mean something else.
constexpr Names kUncertain = {"frameset", "math", "select", "svg"};

// What is known of a name, as bits.
enum Trait : unsigned {
  kIsVoid = 1,
  kIsSelfEnding = 2,
  kIsFormatting = 4,
  kIsBlock = 8,
  kIsBarrier = 16,
  kIsForeign = 32,
  kIsRaw = 64,
  kIsUncertain = 128
};

unsigned TraitsOf(std::string_view name) {
  static const auto kTraits = [] {
    std::unordered_map<std::string_view, unsigned> traits;
    const auto add = [&](std::span<const std::string_view> names, Trait trait) {
      for (const std::string_view known : names) traits[known] |= trait;
    };
    add(kVoid, kIsVoid);
    add(kSelfEnding, kIsSelfEnding);
    add(kFormattingNames, kIsFormatting);
    add(kBlockNames, kIsBlock);
    add(kBarriers, kIsBarrier);
    add(kForeignNames, kIsForeign);
    add(kRaw, kIsRaw);
    add(kUncertain, kIsUncertain);
    return traits;
  }();
  const auto known = kTraits.find(name);
  return known == kTraits.end() ? 0 : known->second;
}

bool EndsName(char c) {
  return c == '>' || c == '/' || c == ' ' || (c >= '\t' && c <= '\r' && c != '\v');
}

class Limiter {
 public:
  explicit Limiter(std::string_view page) : html(page) {}

  // False when nothing had to change.
  bool Run() {
    while (at < html.size()) {
      at = std::min(html.find('<', at), html.size());
      const std::string_view rest = html.substr(at);
      if (rest.size() < 2) break;
      if (IsLetter(rest[1])) {
        StartTag();
      } else if (rest[1] == '/' && rest.size() > 2 && IsLetter(rest[2])) {
        at += 2;
        End(Name());
      } else if (rest.starts_with("<!--") && !isUncertain) {
        SkipComment();
      } else {
        ++at;
      }
    }
    if (copied == 0) return false;
    out += html.substr(copied);
    return true;
  }

  std::string Take() { return std::move(out); }

 private:
  struct Open {
    std::string name;
    unsigned traits;
    std::string_view tag;
  };

  // The first place from one on of which it holds; the end where there is none.
  template <typename Holds>
  size_t Find(size_t from, Holds holds) const {
    while (from < html.size() && !holds(html[from])) ++from;
    return from;
  }

  std::string Name() {
    const size_t end = Find(at, EndsName);
    constexpr size_t kLongest = 32;
    std::string name = Lowered(html.substr(at, std::min(end - at, kLongest)));
    at = end;
    return name;
  }

  void StartTag() {
    const size_t begin = at++;
    const std::string name = Name();
    const size_t behindName = at;
    const size_t end = Attributes();
    const unsigned traits = TraitsOf(name);
    if ((traits & kIsUncertain) != 0) isUncertain = true;
    const std::string_view tag = html.substr(begin, end - begin);
    if (Begins(traits, tag) && !Enter(name, traits, tag)) Replace(begin, behindName);
    // What looks like attributes may be more tags where it is not known what tags mean.
    at = isUncertain ? behindName : end;
    if (!isUncertain && (traits & kIsRaw) != 0) SkipRaw(name);
  }

  // Goes over the attributes of a tag, and leaves out those that are too many; where it ends.
  size_t Attributes() {
    size_t count = 0;
    size_t last = at;
    size_t position = at;
    const auto isNoBlank = [](char c) { return c == '>' || c == '/' || !EndsName(c); };
    for (;;) {
      position = Find(position, [](char c) { return c == '>' || !EndsName(c); });
      if (position >= html.size() || html[position] == '>') break;
      if (++count == kMostAttributes) last = position;
      position = Find(position + 1, [](char c) { return c == '=' || EndsName(c); });
      position = Find(position, isNoBlank);
      if (position >= html.size() || html[position] != '=') continue;
      position = Find(position + 1, isNoBlank);
      if (position >= html.size()) break;
      const char quote = html[position];
      if (quote == '"' || quote == '\'') {
        position = std::min(html.find(quote, position + 1), html.size() - 1) + 1;
      } else {
        position = Find(position, [](char c) { return c != '/' && EndsName(c); });
      }
    }
    if (count > kMostAttributes) Cut(last, position);
    return position;
  }

  void Cut(size_t begin, size_t end) {
    if (begin < copied) return;
    out += html.substr(copied, begin - copied);
    copied = end;
  }

  // The element becomes hollow.
  void Replace(size_t begin, size_t end) {
    if (begin < copied) return;
    out += html.substr(copied, begin - copied);
    out += kHollow;
    copied = end;
  }

  // Whether an element stays open.
  bool Begins(unsigned traits, std::string_view tag) const {
    if (foreign > 0) {
      const bool isClosed = tag.ends_with('/') &&
                            std::count(tag.begin(), tag.end(), '"') % 2 == 0 &&
                            std::count(tag.begin(), tag.end(), '\'') % 2 == 0;
      return !isClosed;
    }
    return (traits & (kIsVoid | kIsSelfEnding)) == 0;
  }

  // False when it would go too deep.
  bool Enter(const std::string& name, unsigned traits, std::string_view tag) {
    if (open.size() >= kDeepest) return false;
    if ((traits & kIsFormatting) != 0 && unended >= kMostUnended) return false;
    if ((traits & kIsForeign) != 0) ++foreign;
    open.push_back({name, traits, tag});
    return true;
  }

  void End(const std::string& name) {
    constexpr unsigned kOfKind = kIsBlock | kIsBarrier | kIsFormatting;
    const unsigned traits = TraitsOf(name);
    for (size_t i = open.size(); i-- > 0;) {
      const Open& element = open[i];
      if (element.name == name) return Leave(i, traits);
      const bool isBarrier = (element.traits & kIsBarrier) != 0;
      if (isBarrier && (traits & kIsBarrier) == 0) return;
      if (isBarrier && (element.traits & kIsForeign) != 0) return;
      if ((element.traits & kIsBlock) != 0 && (traits & kOfKind) == 0) return;
    }
  }

  void Leave(size_t number, unsigned traits) {
    if ((traits & kIsFormatting) != 0) {
      open.erase(open.begin() + static_cast<std::ptrdiff_t>(number));
      return;
    }
    while (open.size() > number) {
      const Open& element = open.back();
      if ((element.traits & kIsForeign) != 0) --foreign;
      // The parser opens it again in what follows.
      const bool isFormatting = (element.traits & kIsFormatting) != 0;
      if (isFormatting && ++alike[element.tag] <= kMostUnendedAlike) ++unended;
      open.pop_back();
    }
  }

  void SkipComment() {
    for (size_t dash = at + 2; dash < html.size(); ++dash) {
      dash = html.find("--", dash);
      if (dash == std::string_view::npos) break;
      const std::string_view rest = html.substr(dash + 2);
      if (rest.starts_with('>') || rest.starts_with("!>")) {
        at = dash + 2;
        return;
      }
    }
    at = html.size();
  }

  void SkipRaw(const std::string& name) {
    for (; at < html.size(); ++at) {
      at = std::min(html.find("</", at), html.size());
      const std::string_view rest = html.substr(std::min(at + 2, html.size()));
      if (rest.size() > name.size() && strncasecmp(rest.data(), name.data(), name.size()) == 0 &&
          std::string_view(" \t\n\r\f/>").find(rest[name.size()]) != std::string_view::npos) {
        return;
      }
    }
  }

  std::string_view html;
  size_t at = 0;
  bool isUncertain = false;
  std::vector<Open> open;
  size_t foreign = 0;
  size_t unended = 0;
  std::unordered_map<std::string_view, size_t> alike;
  std::string out;
  size_t copied = 0;
};

}  // namespace

std::string Limited(std::string html) {
  Limiter limiter(html);
  return limiter.Run() ? limiter.Take() : std::move(html);
}
