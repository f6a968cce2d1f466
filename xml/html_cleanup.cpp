// Turns a foreign HTML file into a page of XHTML 1.0 Strict: parse, rebuild, repair, tidy up.
#include <libxml/globals.h>

#include <memory>
#include <new>
#include <optional>
#include <unordered_set>

#include "base/encoding/html_encoding.h"
#include "base/error_silence.h"
#include "xml/dtd_cache.h"
#include "xml/html_parser.h"
#include "xml/name_lists.h"
#include "xml/page_body.h"
#include "xml/xhtml_repair.h"

namespace {

constexpr char kXhtmlNamespace[] = "http://www.w3.org/1999/xhtml";
// Recover, add no document type, stay silent, merge CDATA.
constexpr int kParseOptions = 16485;

struct FreeValidation {
  void operator()(xmlValidCtxt* context) const { xmlFreeValidCtxt(context); }
};
using Validation = std::unique_ptr<xmlValidCtxt, FreeValidation>;

void IgnoreWarning(void* /*context*/, const char* /*message*/, ...) {}

// Exchanges the subsets of a document for one DTD, for the length of a scope.
class DtdInPlace {
 public:
  DtdInPlace(xmlDoc* document, xmlDtd* dtd)
      : doc(document), internal(doc->intSubset), external(doc->extSubset) {
    doc->intSubset = nullptr;
    doc->extSubset = dtd;
  }
  ~DtdInPlace() {
    doc->intSubset = internal;
    doc->extSubset = external;
  }
  DtdInPlace(const DtdInPlace&) = delete;
  DtdInPlace& operator=(const DtdInPlace&) = delete;

 private:
  xmlDoc* doc;
  xmlDtd* internal;
  xmlDtd* external;
};

// Names the record of the running clean-up, for the length of a scope.
class InScope {
 public:
  InScope(TRepairState*& place, TRepairState& state) : named(place) { named = &state; }
  ~InScope() { named = nullptr; }
  InScope(const InScope&) = delete;
  InScope& operator=(const InScope&) = delete;

 private:
  TRepairState*& named;
};

// Nodes that have been taken out of a document.
class DeletedNodes {
 public:
  DeletedNodes() = default;

  // The last one queued goes first; a node that was queued twice goes once.
  void Take(std::vector<xmlNode*>& pending) {
    for (; !pending.empty(); pending.pop_back()) {
      // Freed below only: a node may lie inside another one that was queued after it.
      if (nodes.insert(pending.back()).second) xmlUnlinkNode(pending.back());
    }
  }
  ~DeletedNodes() {
    for (xmlNode* node : nodes) xmlFreeNode(node);
  }
  DeletedNodes(const DeletedNodes&) = delete;
  DeletedNodes& operator=(const DeletedNodes&) = delete;

  const std::unordered_set<xmlNode*>& Nodes() const { return nodes; }

 private:
  std::unordered_set<xmlNode*> nodes;
};

// A body holds blocks; whatever else it has gets a "div" of its own.
bool WrapLooseContent(xmlNode* body) {
  for (xmlNode* child = body->children; child != nullptr; child = child->next) {
    if (child->name == nullptr || IsListed(kBlockNames, NameOf(child))) continue;
    xmlNode* div = xmlNewDocNode(body->doc, nullptr, Xml("div"), nullptr);
    if (div == nullptr) return false;
    xmlReplaceNode(child, div);
    xmlAddChild(div, child);
    child = div;
  }
  return true;
}

// Puts the children of a node in its place; no texts are joined, so that the cost stays that of the
// children. Returns the node that follows in the document's order.
xmlNode* ReplaceByContent(xmlNode* node) {
  xmlNode* first = node->children == nullptr ? node->next : node->children;
  xmlNode* last = node->children == nullptr ? node->prev : node->last;
  for (xmlNode* child = node->children; child != nullptr; child = child->next) {
    child->parent = node->parent;
  }
  if (node->children != nullptr) {
    first->prev = node->prev;
    last->next = node->next;
  }
  (node->prev == nullptr ? node->parent->children : node->prev->next) = first;
  (node->next == nullptr ? node->parent->last : node->next->prev) = last;
  node->children = node->last = node->prev = node->next = node->parent = nullptr;
  xmlFreeNode(node);
  return first;
}

void RemoveNamelessAttributes(xmlNode* node) {
  for (xmlAttr* attr = node->properties; attr != nullptr;) {
    xmlAttr* next = attr->next;
    if (attr->name == nullptr) xmlRemoveProp(attr);
    attr = next;
  }
}

// The references to all ids in a tree.
std::unordered_set<std::string> FragmentsBelow(xmlNode* top) {
  std::unordered_set<std::string> fragments;
  for (xmlNode* node = top; node != nullptr; node = NextElement(node)) {
    if (const auto id = AttributeOf(node, "id")) fragments.insert("#" + *id);
  }
  return fragments;
}

// A name that the parser had no room for is missing, and nothing says so.
bool HasNameless(xmlNode* top) {
  const xmlNode* above = top->parent;
  for (xmlNode* node = top; node != nullptr && node != above; node = NextElement(node)) {
    if (node->name == nullptr) return true;
    for (const xmlAttr* attr = node->properties; attr != nullptr; attr = attr->next) {
      if (attr->name == nullptr) return true;
    }
  }
  return false;
}

// The repair leaves elements, and may leave attributes, without a name, which no XML file can hold.
void RemoveNameless(xmlNode* top) {
  std::vector<xmlNode*> ancestors;
  for (xmlNode* node = top->children; node != nullptr || !ancestors.empty();) {
    if (node == nullptr) {
      node = ancestors.back()->next;
      ancestors.pop_back();
      continue;
    }
    if (node->type == XML_ELEMENT_NODE && NameOf(node).empty()) {
      node = ReplaceByContent(node);
      continue;
    }
    if (node->type == XML_ELEMENT_NODE) RemoveNamelessAttributes(node);
    if (node->type == XML_ELEMENT_NODE && node->children != nullptr) {
      ancestors.push_back(node);
      node = node->children;
    } else {
      node = node->next;
    }
  }
}

}  // namespace

int XMLBase::HtmlProcess(const char* htmlPath, const char* sourceDir, const char* title,
                         const char* dtdPath) {
  if (doc == nullptr) return EPUB_E_NO_DOCUMENT;
  const ErrorSilence silence;
  const int code = MakePage(htmlPath, sourceDir, title, dtdPath);
  if (silence.RanOutOfMemory()) throw std::bad_alloc();
  return code;
}

int XMLBase::MakePage(const char* htmlPath, const char* sourceDir, const char* title,
                      const char* dtdPath) {
  resourceDir.clear();
  baseDir = sourceDir == nullptr ? "" : sourceDir;
  AddElement(nullptr, "html", {{"xmlns", kXhtmlNamespace}});
  xmlNode* body = nullptr;
  if (const int code = TakeOverBody(htmlPath, title, body); code != EPUB_OK) return code;
  DtdCache ownCache;
  xmlDtd* dtd = (dtdCache == nullptr ? ownCache : *dtdCache).Get(dtdPath);
  if (dtd == nullptr) return EPUB_E_MISSING;
  return Repair(dtd, body);
}

int XMLBase::TakeOverBody(const char* htmlPath, const char* title, xmlNode*& body) {
  XmlDocument source;
  if (const auto html = readPage ? readPage(htmlPath) : ReadHtmlFile(htmlPath)) {
    source = ParseHtml(*html, "UTF-8", kParseOptions);
  }
  if (source == nullptr) return EPUB_E_OPEN;
  xmlNode* sourceRoot = xmlDocGetRootElement(source.get());
  if (sourceRoot == nullptr) return EPUB_E_NOT_FOUND;
  xmlNode* html = FindNode(root, "html");
  if (html == nullptr || xmlAddChild(html, GenerateHeadNode(title)) == nullptr) incomplete = true;
  body = GatherBody(source.get());
  if (html == nullptr || body == nullptr) return EPUB_E_NOT_FOUND;
  xmlUnlinkNode(body);
  xmlAddChild(html, body);
  if (HasNameless(body)) throw std::bad_alloc();
  return EPUB_OK;
}

int XMLBase::Repair(xmlDtd* dtd, xmlNode* body) {
  const Validation validation(xmlNewValidCtxt());
  if (validation == nullptr) return EPUB_E_VALIDATION;
  TRepairState state;
  state.lastError = &xmlLastError;
  state.currentAttr = &currentAttr;
  const InScope inScope(repairState, state);
  validation->userData = &state;
  validation->error = PrintError;
  validation->warning = IgnoreWarning;
  xhtmlValidateDtd(validation.get(), doc, dtd);
  {
    DeletedNodes deleted;
    deleted.Take(state.pending);
    NeutralizeDeadFragments(deleted.Nodes());
  }
  if (!WrapLooseContent(body) || state.incomplete) incomplete = true;
  RemoveNameless(root);
  ForgetNodes();
  xmlResetLastError();  // it names nodes that are gone
  return EPUB_OK;
}

// A link stays when its id is still there: links that are neutralised take their own ids along,
// which leaves others without a target.
void XMLBase::NeutralizeDeadFragments(const std::unordered_set<xmlNode*>& deleted) {
  std::unordered_map<std::string, std::vector<xmlNode*>> linksTo;
  for (; !anchorLinks.empty(); anchorLinks.pop_back()) {
    xmlNode* link = anchorLinks.back();
    if (deleted.count(link) != 0) continue;
    const auto href = AttributeOf(link, "href");
    if (href) linksTo[*href].push_back(link);
  }
  const std::unordered_set<std::string> targets = FragmentsBelow(root);
  std::vector<std::string> dead;
  for (const auto& [href, links] : linksTo) {
    if (targets.count(href) == 0) dead.push_back(href);
  }
  while (!dead.empty()) {
    const std::vector<xmlNode*> links = std::move(linksTo[dead.back()]);
    dead.pop_back();
    for (xmlNode* link : links) {
      if (const auto id = AttributeOf(link, "id")) dead.push_back("#" + *id);
      Neutralize(link);
    }
  }
}

int XMLBase::xhtmlValidateDtd(xmlValidCtxt* ctxt, xmlDoc* document, xmlDtd* dtd) {
  if (dtd == nullptr || document == nullptr) return 0;
  const ErrorSilence silence;
  const DtdInPlace dtdInPlace(document, dtd);
  if (xmlValidateRoot(ctxt, document) == 0) return 0;
  xmlFreeIDTable(static_cast<xmlIDTable*>(document->ids));
  xmlFreeRefTable(static_cast<xmlRefTable*>(document->refs));
  document->ids = nullptr;
  document->refs = nullptr;
  const int isValid = xhtmlValidateElement(ctxt, document, xmlDocGetRootElement(document));
  return xmlValidateDocumentFinal(ctxt, document) != 0 && isValid != 0 ? 1 : 0;
}

int XMLBase::xhtmlValidateElement(xmlValidCtxt* ctxt, xmlDoc* document, xmlNode* node) {
  if (node == nullptr) return 0;
  const ErrorSilence silence;
  TRepairState unattended;
  std::optional<InScope> inScope;
  if (repairState == nullptr) inScope.emplace(repairState, unattended);
  return XhtmlRepair(*this, ctxt, document).Walk(node) ? 1 : 0;
}
