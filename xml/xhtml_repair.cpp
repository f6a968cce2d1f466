// The walk of the repair and its rules of elements.
#include "xml/xhtml_repair.h"

#include <libxml/parserInternals.h>
#include <libxml/uri.h>

#include <string_view>
#include <vector>

#include "fileutil/fileutil.h"
#include "xml/name_lists.h"

namespace {

constexpr std::string_view kRemoteScheme = "http://";
constexpr std::string_view kScriptScheme = "javascript:";

bool Contains(std::string_view text, std::string_view part) {
  return text.find(part) != std::string_view::npos;
}

// All escapes decoded; empty when that makes a NUL, which no path can hold.
std::string DecodeEscapes(const std::string& reference) {
  if (Contains(reference, "%00")) return {};
  char* decoded = xmlURIUnescapeString(reference.c_str(), 0, nullptr);
  return TextOf(XmlString(reinterpret_cast<xmlChar*>(decoded)));
}

// Half of all nodes, and no rule does anything about them.
bool IsPlainText(const xmlNode* node) {
  return node->type == XML_TEXT_NODE && node->name == xmlStringText && node->content != nullptr &&
         node->children == nullptr;
}

bool IsInListContainer(const xmlNode* node) {
  return node->parent != nullptr && node->parent->name != nullptr &&
         IsListed(kListContainers, NameOf(node->parent));
}

// A picture that cannot be shown leaves its alternative text.
void ReplaceByAltText(xmlNode* node) {
  const auto alt = AttributeOf(node, "alt");
  Neutralize(node);
  if (alt && !alt->empty()) xmlAddChild(node, xmlNewDocText(node->doc, Xml(alt->c_str())));
}

// Whether mixed content, a chain of alternatives, may hold an element.
bool Allows(const xmlElementContent* content, std::string_view name) {
  for (; content != nullptr; content = content->c2) {
    const auto* item = content->type == XML_ELEMENT_CONTENT_OR ? content->c1 : content;
    if (item != nullptr && item->name != nullptr &&
        name == reinterpret_cast<const char*>(item->name)) {
      return true;
    }
  }
  return false;
}

bool LacksRequiredAttribute(const xmlElement* declaration, const xmlNode* element) {
  for (auto* attr = declaration->attributes; attr != nullptr; attr = attr->nexth) {
    if (attr->def == XML_ATTRIBUTE_REQUIRED && FindAttribute(element, attr->name) == nullptr) {
      return true;
    }
  }
  return false;
}

}  // namespace

// A list of ancestors instead of recursion: a tree built by hand can be deeper than the stack. The
// siblings that follow are those that are there after a node was visited; none follow when its
// parent has been cleared meanwhile.
bool XhtmlRepair::Walk(xmlNode* top) {
  start = top;
  valid = true;
  std::vector<xmlNode*> ancestors;
  for (xmlNode* node = top; node != nullptr;) {
    const bool descend = Visit(node);
    if (descend && node->children != nullptr) {
      ancestors.push_back(node);
      node = node->children;
      continue;
    }
    while (node != top && (node->parent != ancestors.back() || node->next == nullptr)) {
      node = ancestors.back();
      ancestors.pop_back();
    }
    node = node == top ? nullptr : node->next;
  }
  return valid;
}

bool XhtmlRepair::Visit(xmlNode* node) {
  constexpr Rule kRules[] = {&XhtmlRepair::QueueHeadElement,      &XhtmlRepair::QueueCode,
                             &XhtmlRepair::ReplaceUnknownElement, &XhtmlRepair::RepairImage,
                             &XhtmlRepair::RepairStyleLink,       &XhtmlRepair::ReplaceQuotation,
                             &XhtmlRepair::RepairAnchor,          &XhtmlRepair::ValidateElement,
                             &XhtmlRepair::RepairAttributes,      &XhtmlRepair::ValidateNamespaces};
  if (node->type == XML_ENTITY_REF_NODE || node->type == XML_XINCLUDE_START ||
      node->type == XML_XINCLUDE_END || IsPlainText(node)) {
    return false;
  }
  for (const Rule rule : kRules) {
    if ((this->*rule)(node) == Step::kEnd) return false;
  }
  return true;
}

XhtmlRepair::Step XhtmlRepair::Queue(xmlNode* node) {
  state.pending.push_back(node);
  return Step::kEnd;
}

XhtmlRepair::Step XhtmlRepair::QueueHeadElement(xmlNode* node) {
  if (NameOf(node) == "body") page.inBody = 1;
  const bool isMisplaced =
      page.inBody != 0 && node->name != nullptr && IsListed(kHeadOnlyNames, NameOf(node));
  return isMisplaced ? Queue(node) : Step::kNext;
}

// Comments are named "comment".
XhtmlRepair::Step XhtmlRepair::QueueCode(xmlNode* node) {
  const std::string_view name = NameOf(node);
  const bool isCode = name == "script" || name == "style" || name == "comment" ||
                      node->type == XML_CDATA_SECTION_NODE;
  return isCode ? Queue(node) : Step::kNext;
}

// The parser drops a prefix that it does not know: "x:4" becomes "4", which is a part of a listed
// name, and none that XML knows.
XhtmlRepair::Step XhtmlRepair::ReplaceUnknownElement(xmlNode* node) {
  if (node->name == nullptr) return Step::kNext;
  if (IsPartOfListed(kAllowedNames, NameOf(node)) && IsXmlName(node->name)) return Step::kNext;
  if (IsListed(kBlockNames, NameOf(node))) {
    const xmlNode* parent = node->parent;
    Rename(node, "div");
    if (parent != nullptr && !RevalidateParent(node)) valid = false;
    return node->parent == parent ? Step::kNext : Step::kEnd;  // the parent may have been cleared
  }
  if (IsInListContainer(node)) return Queue(node);
  Rename(node, "span");
  return Step::kNext;
}

// Validates the parent of a node that has become a "div"; errors are repaired as they arise. In the
// walk the parent has been validated before, and all that can be new is that it may not hold a
// "div", or has lost a required attribute: looking at those two keeps a parent of many such
// children from costing the square of their number.
bool XhtmlRepair::RevalidateParent(xmlNode* node) {
  xmlNode* parent = node->parent;
  const xmlElement* declaration = xmlGetDtdElementDesc(doc->extSubset, parent->name);
  if (node == start || declaration == nullptr || LacksRequiredAttribute(declaration, parent)) {
    return xmlValidateOneElement(context, doc, parent) != 0;
  }
  if (declaration->etype != XML_ELEMENT_TYPE_MIXED || Allows(declaration->content, "div")) {
    return true;
  }
  Rename(node, "span");
  return false;
}

XhtmlRepair::Step XhtmlRepair::RepairImage(xmlNode* node) {
  if (NameOf(node) != "img") return Step::kNext;
  const auto src = AttributeOf(node, "src");
  if (!src) return Queue(node);
  const size_t dot = src->rfind('.');
  if (dot != std::string::npos && !IsListed(kImageExtensions, src->substr(dot))) {
    return Queue(node);
  }
  if (Contains(*src, kRemoteScheme) || !UseLocalFile(node, "src", *src)) ReplaceByAltText(node);
  return Step::kNext;
}

XhtmlRepair::Step XhtmlRepair::RepairStyleLink(xmlNode* node) {
  if (NameOf(node) != "link") return Step::kNext;
  const auto href = AttributeOf(node, "href");
  const bool isUsable =
      href && !Contains(*href, kRemoteScheme) && UseLocalFile(node, "href", *href);
  return isUsable ? Step::kNext : Queue(node);
}

XhtmlRepair::Step XhtmlRepair::ReplaceQuotation(xmlNode* node) {
  if (NameOf(node) == "blockquote") Rename(node, "div");
  if (NameOf(node) != "div") return Step::kNext;
  if (xmlAttr* style = FindAttribute(node, Xml("style"))) xmlRemoveProp(style);
  return Step::kNext;
}

XhtmlRepair::Step XhtmlRepair::RepairAnchor(xmlNode* node) {
  if (NameOf(node) != "a") return Step::kNext;
  if (node->properties == nullptr) {
    SetName(node, "span");
    return Step::kNext;
  }
  const auto href = AttributeOf(node, "href");
  return href ? RepairTarget(node, *href) : Step::kNext;
}

XhtmlRepair::Step XhtmlRepair::RepairTarget(xmlNode* node, std::string target) {
  if (Contains(target, kScriptScheme)) Neutralize(node);
  if (IsInListContainer(node)) {
    if (node->children == nullptr) return Queue(node);
    Rename(node, "");  // what it holds takes its place after the walk
  }
  if (Contains(target, "#")) {
    page.anchorLinks.push_back(node);
  } else if (Contains(target, kRemoteScheme)) {
    // A page of a site is out of reach in a book; its front door is worth a link.
    if (target.find('.', target.rfind('/') + 1) != std::string::npos) Neutralize(node);
  } else if (!UseLocalFile(node, "href", std::move(target))) {
    Neutralize(node);
  }
  return Step::kNext;
}

// Points an attribute to the bare name of a file and remembers the path by which to copy it; false
// when there is no such file.
bool XhtmlRepair::UseLocalFile(xmlNode* node, const char* attribute, std::string target) {
  std::string name;
  std::string directory;
  GetFileOrDirFromPath(target.c_str(), name, directory);
  SetAttribute(node, Xml(attribute), Xml(name));
  page.resourceDir = directory;
  if (!FindLocalFile(target)) return false;
  page.externSources.push_back(std::move(target));
  page.MarkLink(node);
  return true;
}

// Decodes a reference to the path of a file beside the page; false when there is none.
bool XhtmlRepair::FindLocalFile(std::string& reference) {
  std::string path = reference;
  XMLBase::PercentEncoding(path);
  if (!page.IsLocalFile(path)) {
    // The file may have a name whose escapes are not those of reserved characters.
    path = DecodeEscapes(reference);
    if (path == reference || !page.IsLocalFile(path)) return false;
  }
  reference = path;
  return true;
}

XhtmlRepair::Step XhtmlRepair::ValidateElement(xmlNode* node) {
  if (xmlValidateOneElement(context, doc, node) == 0) valid = false;
  if (xmlGetDtdElementDesc(doc->extSubset, node->name) != nullptr) state.firstChildren.erase(node);
  const bool isQueued = !state.pending.empty() && state.pending.back() == node;
  return isQueued ? Step::kEnd : Step::kNext;
}

XhtmlRepair::Step XhtmlRepair::ValidateNamespaces(xmlNode* node) {
  if (node->type != XML_ELEMENT_NODE) return Step::kNext;
  const xmlChar* prefix = node->ns == nullptr ? nullptr : node->ns->prefix;
  for (xmlNs* ns = node->nsDef; ns != nullptr; ns = ns->next) {
    if (xmlValidateOneNamespace(context, doc, node, prefix, ns, ns->href) == 0) valid = false;
  }
  return Step::kNext;
}
