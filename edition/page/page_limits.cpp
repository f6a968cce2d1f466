// Follows the tags of a page as far as it takes to know that few elements are open at any place.
// Where it cannot know, it takes them for open.
#include "edition/page/page_limits.h"

#include <strings.h>

#include <algorithm>
#include <iterator>
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

bool IsLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
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
  enum class Kind { kBlock, kBarrier, kFormatting, kOther };
  struct Open {
    std::string name;
    Kind kind;
    std::string_view tag;
  };

  std::string Name() {
    const size_t end = std::min(html.find_first_of(" \t\n\r\f/>", at), html.size());
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
    if (IsOneOf(kUncertain, name)) isUncertain = true;
    if (Begins(name, html.substr(begin, end - begin)) &&
        !Enter(name, html.substr(begin, end - begin))) {
      Replace(begin, behindName);
    }
    // What looks like attributes may be more tags where it is not known what tags mean.
    at = isUncertain ? behindName : end;
    if (!isUncertain && IsOneOf(kRaw, name)) SkipRaw(name);
  }

  // Goes over the attributes of a tag, and leaves out those that are too many; where it ends.
  size_t Attributes() {
    size_t count = 0;
    size_t last = at;
    size_t position = at;
    const auto skip = [&](std::string_view letters) {
      position = std::min(html.find_first_not_of(letters, position), html.size());
    };
    for (;;) {
      skip(" \t\n\r\f/");
      if (position >= html.size() || html[position] == '>') break;
      if (++count == kMostAttributes) last = position;
      position = std::min(html.find_first_of(" \t\n\r\f/>=", position + 1), html.size());
      skip(kBlanks);
      if (position >= html.size() || html[position] != '=') continue;
      ++position;
      skip(kBlanks);
      if (position >= html.size()) break;
      const char quote = html[position];
      if (quote == '"' || quote == '\'') {
        position = std::min(html.find(quote, position + 1), html.size() - 1) + 1;
      } else {
        position = std::min(html.find_first_of(" \t\n\r\f>", position), html.size());
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
  bool Begins(const std::string& name, std::string_view tag) {
    if (foreign > 0) {
      const bool isClosed = tag.ends_with('/') &&
                            std::count(tag.begin(), tag.end(), '"') % 2 == 0 &&
                            std::count(tag.begin(), tag.end(), '\'') % 2 == 0;
      return !isClosed;
    }
    return !IsOneOf(kVoid, name) && !IsOneOf(kSelfEnding, name);
  }

  static Kind KindOf(const std::string& name) {
    if (IsOneOf(kBlockNames, name)) return Kind::kBlock;
    if (IsOneOf(kBarriers, name)) return Kind::kBarrier;
    return IsOneOf(kFormattingNames, name) ? Kind::kFormatting : Kind::kOther;
  }

  // False when it would go too deep.
  bool Enter(const std::string& name, std::string_view tag) {
    const Kind kind = KindOf(name);
    if (open.size() >= kDeepest) return false;
    if (kind == Kind::kFormatting && unended >= kMostUnended) return false;
    if (IsOneOf(kForeignNames, name)) ++foreign;
    open.push_back({name, kind, tag});
    return true;
  }

  void End(const std::string& name) {
    const Kind kind = KindOf(name);
    for (size_t i = open.size(); i-- > 0;) {
      const Open& element = open[i];
      if (element.name == name) return Leave(i, kind);
      if (element.kind == Kind::kBarrier && kind != Kind::kBarrier) return;
      if (element.kind == Kind::kBarrier && IsOneOf(kForeignNames, element.name)) return;
      if (element.kind == Kind::kBlock && kind == Kind::kOther) return;
    }
  }

  void Leave(size_t number, Kind kind) {
    if (kind == Kind::kFormatting) {
      open.erase(open.begin() + static_cast<std::ptrdiff_t>(number));
      return;
    }
    while (open.size() > number) {
      const Open& element = open.back();
      if (IsOneOf(kForeignNames, element.name)) --foreign;
      // The parser opens it again in what follows.
      if (element.kind == Kind::kFormatting && ++alike[element.tag] <= kMostUnendedAlike) ++unended;
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
