// A small site as a book of the reader's edition: the book is sound, its pages are valid XHTML,
// what can be read on the first page is all there, and nothing runs, leads nowhere or comes from
// elsewhere.
#include <strings.h>

#include <algorithm>
#include <iterator>

#include "base/encoding/html_encoding.h"
#include "edition/kavepub.h"
#include "edition/page/page_tree.h"
#include "fuzz/book_check.h"
#include "fuzz/harness.h"
#include "fuzz/readers_book_check.h"

namespace {

constexpr std::ptrdiff_t kDeepest = 400;

bool MakeBook(const std::vector<std::string>& pages, bool keepsNavigation,
              const std::string& path) {
  kavepub_job* job = kavepub_job_new();
  for (const std::string& page : pages) kavepub_job_add_path(job, page.c_str());
  kavepub_job_set_option(job, "cover", "none");
  kavepub_job_set_option(job, "threads", "1");
  kavepub_job_set_option(job, "keep-navigation", keepsNavigation ? "yes" : "no");
  kavepub_job_set_output_path(job, path.c_str());
  const int code = kavepub_job_run(job);
  const std::string error = kavepub_job_error(job);
  Require(code == KAVEPUB_OK || code == KAVEPUB_E_FORMAT, "pages become a book: " + error);
  kavepub_job_free(job);
  return code == KAVEPUB_OK;
}

// What is left out on purpose; in a drawing all of it is a picture.
bool IsLeftOut(const GumboElement& element) {
  constexpr GumboTag kTags[] = {GUMBO_TAG_HEAD,     GUMBO_TAG_SCRIPT,   GUMBO_TAG_STYLE,
                                GUMBO_TAG_TEMPLATE, GUMBO_TAG_TITLE,    GUMBO_TAG_NOSCRIPT,
                                GUMBO_TAG_SELECT,   GUMBO_TAG_TEXTAREA, GUMBO_TAG_BUTTON,
                                GUMBO_TAG_DATALIST, GUMBO_TAG_NOEMBED,  GUMBO_TAG_NOFRAMES,
                                GUMBO_TAG_IFRAME};
  const GumboStringPiece written = element.original_tag;
  const bool isDialog = written.length > 7 && strncasecmp(written.data, "<dialog", 7) == 0;
  return element.tag_namespace != GUMBO_NAMESPACE_HTML || isDialog ||
         std::find(std::begin(kTags), std::end(kTags), element.tag) != std::end(kTags) ||
         gumbo_get_attribute(&element.attributes, "hidden") != nullptr;
}

// Marks that stand beside headings may be left out, and blanks become others.
std::string Letters(const std::string& text) {
  std::string letters;
  for (const char c : text) {
    if ((c > ' ' && c < '\x7F' && c != '#') || c == '\n') letters += c;
  }
  std::erase(letters, '\n');
  return letters;
}

// By the parser, whatever way to the tree the conversion takes.
std::string VisibleText(const std::string& html) {
  Arena arena;
  std::string text;
  const auto enter = [&](const GumboNode& node) {
    if (IsText(node)) text += node.v.text.text;
    return node.type == GUMBO_NODE_ELEMENT && !IsLeftOut(node.v.element);
  };
  Walk(*GumboTreeOf(html, arena), enter, [](const GumboNode&) {});
  return text;
}

// Formulas, and pictures that are not there, bring further text.
void RequireInOrder(const std::string& wanted, const std::string& text) {
  size_t found = 0;
  for (const char c : text) {
    if (found < wanted.size() && wanted[found] == c) ++found;
  }
  Require(found == wanted.size(), "the text is kept from here on: " + wanted.substr(found) +
                                      "\nof: " + wanted + "\nin: " + text);
}

}  // namespace

void Fuzz(const std::string& input, Sandbox& box) {
  std::vector<std::string> files = box.Plant("site", input);
  if (files.empty()) return;
  for (std::string& file : files) file = box / file;
  const std::string path = box / "out/book.epub";
  files.resize(1);
  if (!files.front().ends_with(".html")) return;
  const bool keepsNavigation = input.size() % 2 == 0;
  if (MakeBook(files, keepsNavigation, path)) {
    const std::string text = CheckReadersBook(path, box.Secret());
    const std::string page = ReadFile(files.front());
    // Of pages that nest deeper than people do, some elements are no more than their content; and
    // in which encoding others are is not looked into once more.
    const bool isPlain = std::count(page.begin(), page.end(), '<') < kDeepest &&
                         page.find('\0') == std::string::npos && xmlCheckUTF8(Xml(page)) == 1;
    if (isPlain && keepsNavigation) {
      RequireInOrder(Letters(VisibleText(HtmlToUtf8(page))), Letters(text));
    }
  }
  box.RequireEmpty("work");
}
