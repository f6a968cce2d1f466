// What holds for every book of the reader's edition that is made of markup.
#include "fuzz/readers_book_check.h"

#include <libxml/parser.h>
#include <libxml/valid.h>

#include <algorithm>
#include <map>
#include <set>
#include <vector>

#include "fuzz/book_check.h"
#include "fuzz/harness.h"
#include "xml/xml_base.h"

namespace {

const std::string kFolder = "OEBPS/";

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

bool IsOutside(const std::string& link) {
  const size_t colon = link.find(':');
  return colon != std::string::npos && link.find('/') > colon;
}

}  // namespace

std::string CheckReadersBook(const std::string& path, const std::string& secret) {
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
    if (name.starts_with(kFolder + "page-1.") || name.starts_with(kFolder + "page-1-")) {
      text += part.Text();
    }
  }
  for (const auto& [name, part] : parts) {
    if (name.ends_with(".svg")) continue;
    for (const std::string& link : part.Links()) {
      if (IsOutside(link)) continue;
      const size_t mark = std::min(link.find('#'), link.size());
      const std::string target = mark == 0 ? name : kFolder + link.substr(0, mark);
      Require(names.count(target) == 1, name + ": " + link + " leads somewhere");
      if (mark == link.size()) continue;
      const auto there = parts.find(target);
      const bool hasPlace = there != parts.end() && there->second.Has(link.substr(mark + 1));
      Require(hasPlace, link + " has a place");
    }
  }
  return text;
}
