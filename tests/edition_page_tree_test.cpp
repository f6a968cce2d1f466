// The quick way to the tree of a page leads to the tree that the parser makes, or nowhere.
#include <gtest/gtest.h>
#include <libxml/HTMLparser.h>

#include <random>

#include "data_rows.h"
#include "edition/page/orderly_tree.h"
#include "edition/page/page_tree.h"

namespace {

// Of comments it is only to be seen that they part texts.
void AppendTree(const GumboNode& root, std::string& shown) {
  const auto enter = [&](const GumboNode& node) {
    if (IsText(node)) shown += std::to_string(node.type) + "'" + node.v.text.text + "'";
    if (!IsElement(node)) return false;
    const GumboElement& element = node.v.element;
    shown += '<' + std::to_string(element.tag_namespace) + std::string(NameOf(node));
    for (unsigned i = 0; i < element.attributes.length; ++i) {
      const auto& attribute = *static_cast<GumboAttribute*>(element.attributes.data[i]);
      shown.append(" ").append(attribute.name).append("=").append(attribute.value);
      shown += std::to_string(attribute.attr_namespace);
    }
    shown += '>';
    return true;
  };
  Walk(root, enter, [&](const GumboNode&) { shown += "</>"; });
}

// Whether it is orderly.
bool Compare(const std::string& page) {
  Arena arena;
  const GumboNode* quick = OrderlyTreeOf(page, arena);
  if (quick == nullptr) return false;
  std::string found;
  std::string wanted;
  AppendTree(*quick, found);
  AppendTree(*GumboTreeOf(page, arena), wanted);
  EXPECT_EQ(found, wanted) << page;
  return true;
}

// Pages of which most are nearly orderly.
class Pages {
 public:
  explicit Pages(unsigned seed) : random(seed) {}

  std::string Next() {
    constexpr const char* kDoctypes[] = {"<!DOCTYPE html>", "", "<?xml version='1.0'?>",
                                         "<!doctype HTML public \"-//W3C//DTD XHTML 1.1//EN\">"};
    constexpr const char* kHeads[] = {
        "<html><head></head><body>",
        "<html lang=en>\n<head> <title>a &amp; b</title> </head>\n<body>",
        "<html><body class='x'>",
        "<HTML><head><meta charset=x><body>",
        "<html><head><style>p > q</style></head><p>",
        "",
        " <body>",
        " x <!-- y -->",
        "<title>x</title> ",
        "<html> <head> "};
    page = std::string(OneOf(kDoctypes)) + OneOf(kHeads);
    open.clear();
    for (size_t left = Below(24); left > 0; --left) Add();
    while (!open.empty() && Below(40) != 0) End();
    constexpr const char* kEnds[] = {"</body></html>", " </body> \n</html> \n", "", "</body>",
                                     "</body><!-- x --> </html> x"};
    return page + OneOf(kEnds);
  }

 private:
  size_t Below(size_t limit) { return random() % limit; }
  template <size_t count>
  const char* OneOf(const char* const (&texts)[count]) {
    return texts[Below(count)];
  }

  void Begin(const std::string& name) {
    constexpr const char* kAttributes[] = {"",
                                           "",
                                           "",
                                           "",
                                           "",
                                           " id=x",
                                           " class=\"a &lt; b\"",
                                           " hidden",
                                           " a = 'b'\nc",
                                           " Data-X=B a=c",
                                           " a=b a",
                                           "/"};
    page += "<" + name + OneOf(kAttributes) + ">";
    open.push_back(name);
  }
  void End() {
    page += "</" + open.back() + ">";
    open.pop_back();
  }
  void Add() {
    constexpr const char* kFrequent[] = {"p",  "p",  "div", "a",     "b",  "li",   "ul", "dd",
                                         "dt", "h1", "pre", "table", "tr", "form", "th", "x-y"};
    constexpr const char* kTexts[] = {"text",
                                      " ",
                                      "\n",
                                      "&amp;",
                                      "&#8217;",
                                      "a & b",
                                      "<!-- x -->",
                                      "&notit;",
                                      "\r\n",
                                      "&copy",
                                      "<br>",
                                      "<img src=x/>",
                                      "<hr />",
                                      "<wbr>",
                                      "</p>",
                                      "<svg><path d=\"\"/><title>x</title></svg>",
                                      "<script>a<b</script>",
                                      "<col>",
                                      "&y=1"};
    constexpr const char* kStrange[] = {"<!-->x",
                                        "<!--->x-->",
                                        "<!--a--!>-->",
                                        "</p id=x>",
                                        "</i/>",
                                        "</h2>",
                                        "</br>",
                                        "&#x41;",
                                        "&#128;",
                                        "&AMP",
                                        "\x01",
                                        "< b",
                                        "<?x?>",
                                        "<svg><b>x</b></svg>",
                                        "<math><mi>x</mi></math>",
                                        "<style><!-- </style>",
                                        "<script><!--<script></script>--></script>"};
    const size_t what = Below(25);
    if (what < 6) return Begin(OneOf(kFrequent));
    if (what < 8)
      return Begin(gumbo_normalized_tagname(static_cast<GumboTag>(Below(GUMBO_TAG_LAST))));
    if (what < 16 && !open.empty()) return End();
    if (what == 16) return Row();
    if (what == 17 && !open.empty()) return open.pop_back();  // it stays open
    page += Below(12) == 0 ? OneOf(kStrange) : OneOf(kTexts);
  }
  void Row() {
    constexpr const char* kRows[] = {
        "<table><tr><td>",   "<table>\n<thead><tr><th>x</th></tr></thead>",
        "<table><caption>x", "<table><colgroup><col><col><tbody><tr><td>",
        "<tr><td>",          "</td><td>",
        "</table>"};
    page += OneOf(kRows);
  }

  std::mt19937 random;
  std::string page;
  std::vector<std::string> open;
};

TEST(OrderlyTree, IsTheTreeOfTheParser) {
  constexpr size_t kPages = 60'000;
  Pages pages(1);
  size_t orderly = 0;
  for (size_t i = 0; i < kPages && !testing::Test::HasFailure(); ++i)
    orderly += Compare(pages.Next());
  EXPECT_GT(orderly, kPages / 10);
  for (const auto& row : DataRows("page_markup.txt", 3)) Compare(row[1]);
}

TEST(OrderlyTree, KnowsCharactersByName) {
  for (unsigned code = 1; code < 0x3000; ++code) {
    if (const htmlEntityDesc* known = htmlEntityValueLookup(code)) {
      for (const char* end : {"; ", " ", "x", "=", "1;"}) {
        const std::string text = std::string("&") + known->name + end;
        Compare("<html><body title='" + text + "'>" + text);
      }
    }
    Compare("<html><body>&#" + std::to_string(code) + ";");
  }
}

}  // namespace
