// A small site as a book of the reader's edition: the book is sound, its pages are valid XHTML,
// what can be read on the first page is all there, and nothing runs, leads nowhere or comes from
// elsewhere.
#include <libxml/parser.h>
#include <libxml/valid.h>
#include <strings.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <set>

#include "base/encoding/html_encoding.h"
#include "edition/kavepub.h"
#include "edition/page/page_tree.h"
#include "fuzz/book_check.h"
#include "fuzz/harness.h"
#include "xml/xml_base.h"

namespace {

const std::string kRoot = "OEBPS/";
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

xmlDtd* Dtd() {
  static xmlDtd* const dtd = [] {
    xmlParserInputBuffer* input = xmlParserInputBufferCreateMem(
        kXhtml1StrictDtd[0], static_cast<int>(std::string_view(kXhtml1StrictDtd[0]).size()),
        XML_CHAR_ENCODING_NONE);
    return xmlIOParseDTD(nullptr, input, XML_CHAR_ENCODING_NONE);
  }();
  return dtd;
}

// One walk and few blocks of memory: what is checked of each book is most of the work here.
class Part {
 public:
  Part(const std::string& content, std::string nameInBook)
      : name(std::move(nameInBook)),
        doc(xmlReadMemory(
            content.data(), static_cast<int>(content.size()), nullptr, nullptr,
            XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOENT | XML_PARSE_COMPACT)) {
    Require(doc != nullptr, name + " is well-formed: " + content);
    Visit(xmlDocGetRootElement(doc.get()));
  }

  const std::vector<std::string>& Links() const { return links; }
  bool Has(const std::string& id) const { return ids.count(id) == 1; }
  const std::string& Text() const { return text; }

  void CheckValidity() {
    xmlValidCtxtPtr context = xmlNewValidCtxt();
    context->error = nullptr;
    context->warning = nullptr;
    const bool isValid = xmlValidateDtd(context, doc.get(), Dtd()) == 1;
    xmlFreeValidCtxt(context);
    Require(isValid, name + " is valid: " + Written(doc));
  }

 private:
  void Visit(xmlNode* top) {
    for (xmlNode* node = top; node != nullptr; node = Next(node, top)) {
      if (node->type == XML_TEXT_NODE) text += reinterpret_cast<const char*>(node->content);
      if (node->type != XML_ELEMENT_NODE) continue;
      const auto element = std::string_view(reinterpret_cast<const char*>(node->name));
      Require(element != "script" && element != "foreignObject", name + " has no scripts");
      // In XHTML 1.1, a listing may hold what a paragraph may.
      if (element == "pre") xmlNodeSetName(node, Xml("p"));
      if (element == "body") text.clear();
      for (xmlAttr* at = node->properties; at != nullptr; at = at->next) VisitAttribute(*at);
    }
  }

  void VisitAttribute(const xmlAttr& attribute) {
    const auto key = std::string_view(reinterpret_cast<const char*>(attribute.name));
    const xmlNode* content = attribute.children;
    const std::string value =
        content == nullptr ? "" : reinterpret_cast<const char*>(content->content);
    Require(!key.starts_with("on"), name + " does nothing");
    if (key == "id") Require(ids.insert(value).second, name + " has the id once: " + value);
    const bool isOfPage = key == "src" || (key == "href" && attribute.ns == nullptr);
    if (isOfPage) links.push_back(value);
    if (!isOfPage && key != "href" && key != "style") return;
    Require(value.find("javascript:") == std::string::npos, name + " runs nothing: " + value);
    Require(value.find("expression") == std::string::npos || value.find('/') != std::string::npos,
            name + " has no expressions: " + value);
  }

  static xmlNode* Next(xmlNode* node, const xmlNode* top) {
    if (node->children != nullptr && node->type == XML_ELEMENT_NODE) return node->children;
    while (node != top && node->next == nullptr) node = node->parent;
    return node == top ? nullptr : node->next;
  }

  std::string name;
  XmlDoc doc;
  std::set<std::string> ids;
  std::vector<std::string> links;
  std::string text;
};

bool LeadsOut(const std::string& link) {
  const size_t colon = link.find(':');
  return colon != std::string::npos && link.find('/') > colon;
}

// The text of the pages that the first page has become.
std::string CheckParts(const std::string& path, const std::string& secret) {
  std::set<std::string> names;
  std::map<std::string, Part> parts;
  std::string text;
  for (const auto& [name, content] : ReadArchive(path)) {
    Require(names.insert(name).second, name + " is there once");
    Require(content.find(secret) == std::string::npos, name + " holds no secret");
    const bool isPage = name.ends_with(".xhtml");
    if (!isPage && !name.ends_with(".svg") && !name.ends_with(".ncx")) continue;
    Part& part = parts.try_emplace(name, content, name).first->second;
    if (isPage) part.CheckValidity();
    if (name.starts_with(kRoot + "page-1.") || name.starts_with(kRoot + "page-1-")) {
      text += part.Text();
    }
  }
  for (const auto& [name, part] : parts) {
    if (name.ends_with(".svg")) continue;
    for (const std::string& link : part.Links()) {
      if (LeadsOut(link)) continue;
      const size_t mark = std::min(link.find('#'), link.size());
      const std::string target = mark == 0 ? name : kRoot + link.substr(0, mark);
      Require(names.count(target) == 1, name + ": " + link + " leads somewhere");
      if (mark == link.size()) continue;
      const auto there = parts.find(target);
      const bool hasPlace = there != parts.end() && there->second.Has(link.substr(mark + 1));
      Require(hasPlace, link + " has a place");
    }
  }
  return text;
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

std::string VisibleText(const std::string& html) {
  const PageTree tree(html);
  std::string text;
  const auto enter = [&](const GumboNode& node) {
    if (IsText(node)) text += node.v.text.text;
    return node.type == GUMBO_NODE_ELEMENT && !IsLeftOut(node.v.element);
  };
  Walk(tree.Root(), enter, [](const GumboNode&) {});
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
    const std::string text = CheckParts(path, box.Secret());
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
