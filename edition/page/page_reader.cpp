// Walks through the tree of a page once to weigh its parts and once to write its body.
#include "edition/page/page_reader.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <iterator>
#include <optional>
#include <unordered_map>
#include <utility>

#include "base/text_gate.h"
#include "edition/page/attributes.h"
#include "edition/page/content_model.h"
#include "edition/page/formulas.h"
#include "edition/page/page_head.h"
#include "edition/page/page_limits.h"
#include "edition/page/page_tree.h"
#include "edition/page/picture_choice.h"
#include "edition/page/reference.h"
#include "edition/page/vector_graphics.h"
#include "edition/page/words.h"

namespace {

constexpr char kPageClass[] = "frame";
// Of pictures that fill what they stand in.
constexpr char kWithinPage[] = "max-height: 100vh;";
constexpr double kMostOfThePage = 0.7;
constexpr std::string_view kPermalinkMarks[] = {"#", "¶", "§", "🔗", "∞"};

bool IsBlank(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

// Whose content is no part of the page, in formulas as well, where it may be elements.
bool IsForPrograms(const GumboNode& element) {
  const GumboTag tag = element.v.element.tag;
  return tag == GUMBO_TAG_SCRIPT || tag == GUMBO_TAG_STYLE;
}

// What of a page is text, for each element in the order of the page.
struct Weight {
  std::uint32_t text = 0;
  std::uint32_t inLinks = 0;
};

std::vector<Weight> WeighElements(const GumboNode& root) {
  std::vector<Weight> weights;
  std::vector<size_t> path;
  size_t links = 0;
  const auto enter = [&](const GumboNode& node) {
    if (IsText(node)) {
      const std::string_view text = node.v.text.text;
      const auto size = static_cast<std::uint32_t>(
          std::count_if(text.begin(), text.end(), [](char c) { return !IsBlank(c); }));
      weights[path.back()].text += size;
      if (links > 0) weights[path.back()].inLinks += size;
      return false;
    }
    if (!IsElement(node)) return false;
    if (node.v.element.tag == GUMBO_TAG_A) ++links;
    path.push_back(weights.size());
    weights.emplace_back();
    if (!IsForPrograms(node)) return true;
    path.pop_back();
    return false;
  };
  const auto leave = [&](const GumboNode& node) {
    if (node.v.element.tag == GUMBO_TAG_A) --links;
    const Weight inner = weights[path.back()];
    path.pop_back();
    if (path.empty()) return;
    weights[path.back()].text += inner.text;
    weights[path.back()].inLinks += inner.inLinks;
  };
  Walk(root, enter, leave);
  return weights;
}

// Words in names of classes and ids, and roles, by which pages mark what is around their contents.
constexpr std::string_view kAroundWords[] = {
    "banner",        "bottomnav", "breadcrumb", "breadcrumbs", "complementary", "contentinfo",
    "copyright",     "footer",    "header",     "headertitle", "menu",          "nav",
    "navbar",        "navfooter", "navheader",  "navigation",  "navpath",       "navrow",
    "pagefoot",      "related",   "search",     "sidebar",     "sidetoc",       "skip",
    "sphinxsidebar", "subnav",    "toolbar",    "topnav",      "topbar",        "top"};
constexpr std::string_view kAroundElements[] = {"aside", "footer", "header", "nav"};
constexpr std::string_view kPartElements[] = {
    "aside", "center", "div", "footer", "header", "nav", "ol", "p", "table", "section", "ul"};

bool HasAroundWord(std::string_view names) {
  std::string word;
  for (size_t at = 0; at <= names.size(); ++at) {
    const char c = at < names.size() ? names[at] : ' ';
    if (c != ' ' && c != '-' && c != '_' && !IsBlank(c)) {
      word += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
      continue;
    }
    if (IsOneOf(kAroundWords, word)) return true;
    word.clear();
  }
  return false;
}

bool IsAround(const GumboNode& element, std::string_view name) {
  if (IsOneOf(kAroundElements, name)) return true;
  if (!IsOneOf(kPartElements, name)) return false;
  return HasAroundWord(AttributeOf(element, "role")) ||
         HasAroundWord(AttributeOf(element, "class")) || HasAroundWord(AttributeOf(element, "id"));
}

// A tag's number is found more quickly than its name.
const ElementRule& RuleOfElement(const GumboNode& element, std::string_view name) {
  static const auto kByTag = [] {
    std::array<const ElementRule*, GUMBO_TAG_UNKNOWN> rules{};
    for (int tag = 0; tag < GUMBO_TAG_UNKNOWN; ++tag) {
      rules[static_cast<size_t>(tag)] =
          &RuleOf(gumbo_normalized_tagname(static_cast<GumboTag>(tag)));
    }
    return rules;
  }();
  const GumboTag tag = element.v.element.tag;
  return tag < GUMBO_TAG_UNKNOWN ? *kByTag[static_cast<size_t>(tag)] : RuleOf(name);
}

// Of Fowler, Noll and Vo, whatever blanks are between.
void AddHash(std::string_view text, std::uint64_t& hash) {
  constexpr std::uint64_t kPrime = 0x100000001B3;
  for (const char c : text) {
    if (!IsBlank(c)) hash = (hash ^ static_cast<unsigned char>(c)) * kPrime;
  }
}

class Reader {
 public:
  explicit Reader(const PageTree& read) : tree(read), weights(WeighElements(tree.Root())) {}

  HtmlPage Read() {
    ReadHead(tree.Root(), page);
    const auto enter = [&](const GumboNode& node) { return Enter(node); };
    const auto leave = [&](const GumboNode& node) { Leave(node); };
    Walk(tree.Root(), enter, leave);
    page.markup = writer.Finish();
    return std::move(page);
  }

 private:
  // What was begun for an element that was entered.
  struct Begun {
    bool isWritten = false;
    bool isLink = false;
    bool isList = false;
    bool isHeading = false;
    size_t links = 0;  // before it
    size_t part = kNone;
    const char* after = "";  // text that follows it
  };
  static constexpr size_t kNone = SIZE_MAX;

  bool Enter(const GumboNode& node) {
    if (IsText(node)) {
      if (hasBody) AddText(node.v.text.text);
      return false;
    }
    if (!IsElement(node)) return false;
    const Weight weight = weights[number++];
    if (node.v.element.tag == GUMBO_TAG_BODY) BeginBody(node);
    const bool goesOn = hasBody || !path.empty() || node.v.element.tag == GUMBO_TAG_HTML;
    return goesOn ? Begin(node, weight) : false;
  }

  void BeginBody(const GumboNode& body) {
    if (std::exchange(hasBody, true)) return;
    const auto refer = Refer();
    page.bodyStyle = StyleOf(body, "body", rules, refer);
    page.bodyClass = AttributeOf(body, "class");
    page.bodyId = XmlIdOf(AttributeOf(body, "id"));
    whole = weights[number - 1].text;
    page.ownText = whole - weights[number - 1].inLinks;
  }

  bool Begin(const GumboNode& node, Weight weight) {
    if (IsForPrograms(node)) return Skip(node);
    const GumboNamespaceEnum space = node.v.element.tag_namespace;
    if (space == GUMBO_NAMESPACE_SVG && hasBody) {
      AddDrawing(node);
      return Skip(node);
    }
    const std::string name = Lowered(NameOf(node));
    ElementRule rule = RuleOfElement(node, name);
    if (space == GUMBO_NAMESPACE_MATHML) rule = RuleOfFormula(node);
    if (IsHidden(node, name)) rule.fate = ElementRule::Fate::kDropped;
    if (name == "noscript" && HoldsPicture(node)) rule.fate = ElementRule::Fate::kOpened;
    NoteFrame(node, name);
    if (IsPictureElement(name) && AddPicture(node, name)) return Skip(node);
    if (name == "area") {
      AddArea(node, rule);
      return Skip(node);
    }
    if (rule.fate == ElementRule::Fate::kDropped) return Skip(node);
    if (IsPermalink(node)) {
      const std::string id = IdOf(node, name);
      if (Take(id)) writer.Inline("<span id=\"" + id + "\"></span>");
      return Skip(node);
    }
    Begun begun;
    if (rule.fate == ElementRule::Fate::kKept) BeginElement(node, name, rule, weight, begun);
    if (space == GUMBO_NAMESPACE_MATHML) {
      AddText(TextBeforeFormula(node));
      begun.after = TextAfterFormula(node);
    }
    path.push_back(begun);
    return true;
  }

  // Elements below are counted, as they have weights.
  bool Skip(const GumboNode& node) {
    bool isTop = true;
    const auto count = [&](const GumboNode& below) {
      if (!IsElement(below)) return false;
      if (!std::exchange(isTop, false)) ++number;
      return !IsForPrograms(below);
    };
    Walk(node, count, [](const GumboNode&) {});
    return false;
  }

  static bool IsHidden(const GumboNode& node, const std::string& name) {
    if (FindAttribute(node, "hidden") != nullptr) return true;
    return name == "dialog" && FindAttribute(node, "open") == nullptr;
  }

  // The mark beside a heading or a term that links to it, which browsers show to a pointer only.
  bool IsPermalink(const GumboNode& node) const {
    if (node.v.element.tag != GUMBO_TAG_A || !AttributeOf(node, "href").starts_with('#'))
      return false;
    const bool isBesideTerm = IsElement(*node.parent) && node.parent->v.element.tag == GUMBO_TAG_DT;
    return (heading || isBesideTerm) && IsOneOf(kPermalinkMarks, TextOf(node));
  }

  static bool HoldsPicture(const GumboNode& node) {
    bool holds = false;
    const auto enter = [&](const GumboNode& below) {
      holds = holds || (IsElement(below) && below.v.element.tag == GUMBO_TAG_IMG);
      return IsElement(below) && !holds;
    };
    Walk(node, enter, [](const GumboNode&) {});
    return holds;
  }

  void BeginElement(const GumboNode& node, const std::string& name, const ElementRule& rule,
                    Weight weight, Begun& begun) {
    const bool isChanged = name != rule.name;
    std::string added = isChanged ? name : "";
    // What is around the whole page keeps no place beside it free.
    const bool isFrame = whole > 0 && weight.text > kMostOfThePage * whole &&
                         rule.place == Place::kBlock && rule.model == Model::kFlow;
    if (isFrame) added.append(added.empty() ? "" : " ").append(kPageClass);
    std::string attributes = AttributesOf(node, name, added, StyleOf(node, name, rules, Refer()));
    std::string id = IdOf(node, name);
    // In a formula it becomes another element.
    const bool isLink = name == rule.name && name == "a" && BeginLink(node, attributes, begun);
    if (name.size() == 2 && name[0] == 'h' && name[1] >= '1' && name[1] <= '6') {
      BeginHeading(static_cast<unsigned>(name[1] - '0'), id, begun);
    }
    if (rule.place == Place::kItem || rule.place == Place::kDefinition) {
      begun.isList = true;
      ++lists;
    }
    if (heading && (name == "br" || rule.place == Place::kBlock)) heading->title += ' ';
    if (!isFrame) BeginPart(node, name, weight, rule, begun);
    if (!Take(id)) id.clear();
    if (rule.model == Model::kNothing && rule.place == Place::kInText) {
      std::string tag = "<";
      tag += rule.name;
      if (!id.empty()) tag.append(" id=\"").append(id).append("\"");
      writer.Inline(tag.append(attributes).append("/>"));
      return;
    }
    begun.isWritten = true;
    const char* own = name == "a" && !isLink ? "span" : rule.name;
    writer.Begin(own, rule.place, rule.model, std::move(attributes), std::move(id));
  }

  static std::string IdOf(const GumboNode& node, const std::string& name) {
    std::string_view id = AttributeOf(node, "id");
    if (id.empty() && name == "a") id = AttributeOf(node, "name");
    return XmlIdOf(id);
  }

  // Each id stands once in a page.
  bool Take(const std::string& id) {
    return !id.empty() && page.ids.emplace(id, PartHere()).second;
  }

  size_t PartHere() const { return openParts.empty() ? kNoPart : openParts.back(); }

  // False for what is no link, and for one inside another, which XHTML has not.
  bool BeginLink(const GumboNode& node, std::string& attributes, Begun& begun) {
    const char* href = FindAttribute(node, "href");
    if (href == nullptr || openLinks > 0) return false;
    begun.isLink = true;
    begun.links = page.links.size();
    ++openLinks;
    isShown = false;
    attributes += AddLink(href);
    if (page.links.size() < kMostLinks) {
      page.links.push_back({href, static_cast<unsigned>(lists), PartHere()});
    }
    return true;
  }

  // Nobody follows a link that shows nothing; a mark that a font would draw may lead to all pages
  // in one, for printing.
  void EndLink(const Begun& begun) {
    --openLinks;
    while (!isShown && page.links.size() > begun.links) page.links.pop_back();
  }

  // What is behind a place in a picture follows in a list.
  void AddArea(const GumboNode& node, const ElementRule& rule) {
    std::string attributes;
    Begun begun;
    const std::string label = LabelOfArea(node);
    if (label.empty()) return;
    ++lists;
    if (BeginLink(node, attributes, begun)) {
      writer.Begin(rule.name, rule.place, rule.model, {}, {});
      writer.Begin("a", Place::kInText, Model::kText, std::move(attributes), {});
      AddText(label);
      writer.End();
      writer.End();
      --openLinks;
    }
    --lists;
  }

  static std::string LabelOfArea(const GumboNode& node) {
    for (const char* attribute : {"alt", "title", "href"}) {
      std::string label = OneLine(AttributeOf(node, attribute));
      if (!label.empty()) return label;
    }
    return {};
  }

  void BeginHeading(unsigned level, std::string& id, Begun& begun) {
    if (heading) return;
    begun.isHeading = true;
    // Of the ids that are taken, none begins so.
    if (id.empty() || page.ids.count(id) != 0)
      id = "_h." + std::to_string(page.headings.size() + 1);
    heading = PageHeading{level, {}, id};
  }

  void BeginPart(const GumboNode& node, const std::string& name, Weight weight,
                 const ElementRule& rule, Begun& begun) {
    if (!openParts.empty() || weight.text > whole / 2 + kSmallPart) return;
    const bool isAround = IsAround(node, name);
    if (!isAround || (rule.model != Model::kFlow && rule.model != Model::kTable &&
                      rule.model != Model::kItems)) {
      return;
    }
    const size_t part = page.parts.size();
    if (!writer.BeginPart(part)) return;
    PagePart found;
    found.sameness = name + "#" + std::string(AttributeOf(node, "id")) + "." +
                     std::string(AttributeOf(node, "class"));
    found.leads = weight.inLinks * 2 > weight.text || name == "nav" ||
                  HasAroundWord(AttributeOf(node, "role"));
    page.parts.push_back(std::move(found));
    begun.part = part;
    openParts.push_back(part);
  }

  void Leave(const GumboNode& /*node*/) {
    const Begun begun = path.back();
    path.pop_back();
    if (*begun.after != '\0') AddText(begun.after);
    if (begun.isHeading) {
      heading->title = OneLine(heading->title);
      // Bars have headings of their own, further down.
      if (heading->level == 1 && !openParts.empty()) {
        page.parts[openParts.back()].title += heading->title;
      }
      if (!heading->title.empty()) page.headings.push_back(std::move(*heading));
      heading.reset();
    }
    if (begun.isLink) EndLink(begun);
    if (begun.isList) --lists;
    if (begun.isWritten) writer.End();
    if (begun.part != kNone) {
      writer.EndPart(begun.part);
      openParts.pop_back();
    }
  }

  void AddText(std::string_view text) {
    const bool isPlain = std::ranges::none_of(text, [](char c) {
      return (c >= 0 && c < ' ' && c != '\n' && c != '\t') || c == '\x7F' || c == '\xEF';
    });
    std::string safe;
    if (!isPlain) text = safe = ToXmlCharacters(text);
    isShown = isShown || text.find_first_not_of(kBlanks) != std::string_view::npos;
    if (heading) heading->title += text;
    if (!openParts.empty()) AddHash(text, page.parts[openParts.back()].text);
    writer.Text(text);
  }

  static std::string MarkOf(size_t reference) {
    return std::string(1, kReferenceMark).append(std::to_string(reference)).append(1, kMarkEnd);
  }

  // The mark that stands for it.
  std::string AddReference(PageReference reference) {
    page.references.push_back(std::move(reference));
    return MarkOf(page.references.size() - 1);
  }

  // Links to one place are one reference; long ones are not, as each of these is put once.
  std::string AddLink(const char* target) {
    const std::string_view written = target;
    if (written.size() <= kLongestShared) {
      const auto [known, isNew] = links.try_emplace(written, page.references.size());
      if (!isNew) return MarkOf(known->second);
    }
    return AddReference({PageReference::Kind::kLink, {target}, {}, {}, {}});
  }

  StyleRules::Refer Refer() {
    return [this](std::string_view url) {
      return AddReference({PageReference::Kind::kStyleFile, {std::string(url)}, {}, {}, {}});
    };
  }

  bool AddPicture(const GumboNode& node, const std::string& name) {
    std::vector<std::string> targets = PictureTargets(node, name);
    if (targets.empty()) return name == "img" || name == "image";
    PageReference picture{PageReference::Kind::kPicture, std::move(targets), {}, {}, {}};
    picture.alternative = AttributeOf(node, "alt");
    if (const std::string id = IdOf(node, name); Take(id)) picture.id = " id=\"" + id + "\"";
    picture.attributes =
        AttributesOf(node, "img", name == "img" ? "" : name, StyleOf(node, "img", rules, Refer()));
    isShown = true;
    writer.Inline(AddReference(std::move(picture)));
    return true;
  }

  void AddDrawing(const GumboNode& node) {
    if (!drawingParts) drawingParts.emplace(tree.Root());
    PageReference drawing{PageReference::Kind::kPicture, {}, {}, TitleOfDrawing(node), {}};
    if (const std::string_view picture = OnlyPictureOf(node); !picture.empty()) {
      drawing.targets.emplace_back(picture);
      const std::string_view width = AttributeOf(node, "width");
      const bool isWindow = width.empty() || width.ends_with('%');
      drawing.attributes = isWindow ? AttributesOf(node, "svg", "svg", kWithinPage)
                                    : AttributesOf(node, "img", "svg", {});
    } else {
      drawing.kind = PageReference::Kind::kDrawing;
      drawing.targets = DrawingOf(node, *drawingParts);
      drawing.attributes = AttributesOf(node, "img", "svg", {});
    }
    if (drawing.targets.empty()) return;
    isShown = true;
    writer.Inline(AddReference(std::move(drawing)));
  }

  void NoteFrame(const GumboNode& node, const std::string& name) {
    if (name != "frame" && name != "iframe") return;
    const std::string_view source = AttributeOf(node, "src");
    if (!source.empty() && page.links.size() < kMostLinks) {
      page.links.push_back({std::string(source), 1, PartHere()});
    }
  }

  static constexpr size_t kMostLinks = 100'000;
  static constexpr size_t kLongestShared = 256;
  static constexpr std::uint32_t kSmallPart = 200;

  const PageTree& tree;
  std::vector<Weight> weights;
  HtmlPage page;
  MarkupWriter writer;
  StyleRules rules;
  std::vector<Begun> path;
  std::vector<size_t> openParts;
  std::unordered_map<std::string_view, size_t> links;  // references, by what the tree holds
  std::optional<PageHeading> heading;
  std::optional<DrawingParts> drawingParts;
  size_t number = 0;  // of the next element
  std::uint32_t whole = 0;
  size_t lists = 0;
  size_t openLinks = 0;
  bool isShown = false;  // anything in the link
  bool hasBody = false;
};

}  // namespace

HtmlPage ReadPage(std::string html) {
  const PageTree tree(Limited(std::move(html)));
  return Reader(tree).Read();
}
