// The document wrapper: creating, filling and saving one XML document.
#include <libxml/parser.h>
#include <libxml/xmlsave.h>
#include <libxml/xpath.h>

#include <cstdlib>
#include <memory>

#include "base/error_silence.h"
#include "base/output_file.h"
#include "base/text_gate.h"
#include "base/xml_text.h"
#include "platform/kav_tool/kav_tool.h"
#include "xml/xml_base.h"

namespace {

constexpr char kXmlVersion[] = "1.0";
constexpr char kXhtml11PublicId[] = "-//W3C//DTD XHTML 1.1//EN";
constexpr char kXhtml11SystemId[] = "http://www.w3.org/TR/xhtml11/DTD/xhtml11.dtd";
constexpr char kSavedEncoding[] = "UTF-8";

std::string_view View(const char* text) {
  return text == nullptr ? "" : text;
}

xmlDoc* NewDocument() {
  SetUpLibxml2();
  const ErrorSilence silence;
  xmlDoc* document = xmlNewDoc(Xml(kXmlVersion));
  if (!silence.RanOutOfMemory()) return document;
  xmlFreeDoc(document);  // lacks its version
  return nullptr;
}

void FreeDocument(xmlDoc*& doc) {
  if (doc == nullptr) return;
  std::free(doc->name);
  doc->name = nullptr;
  xmlFreeDoc(doc);
  doc = nullptr;
}

// libxml2 may return a node whose name or content it had no room for.
xmlNode* Whole(xmlNode* node) {
  if (node == nullptr) return nullptr;
  const bool isWhole =
      node->type == XML_TEXT_NODE ? node->content != nullptr : node->name != nullptr;
  if (isWhole) return node;
  xmlFreeNode(node);
  return nullptr;
}

// A name that XML does not know is passed over; a second attribute of one name would not be
// well-formed either, so the last value counts. False when memory runs out.
bool SetAttribute(xmlNode* element, const char* name, const char* value) {
  if (!IsXmlName(Xml(name))) return true;
  const std::string text = ToXmlCharacters(View(value));
  const xmlAttr* attr = xmlSetProp(element, Xml(name), Xml(text));
  return attr != nullptr && attr->name != nullptr && attr->children != nullptr &&
         attr->children->content != nullptr;
}

// Sets plain text as the content; xmlNodeSetContent would parse it again, and drop all of a text
// in which a reference is not terminated. False when memory runs out.
bool SetText(xmlNode* element, const std::string& text) {
  xmlNodeSetContent(element, nullptr);
  return text.empty() ||
         xmlAddChild(element, Whole(xmlNewDocText(element->doc, Xml(text)))) != nullptr;
}

xmlNode* AppendNew(xmlNode* parent, const char* name) {
  return xmlAddChild(parent, Whole(xmlNewDocNode(parent->doc, nullptr, Xml(name), nullptr)));
}

bool MayHoldNodes(const xmlNode* node) {
  return node->type == XML_ELEMENT_NODE || node->type == XML_DOCUMENT_NODE ||
         node->type == XML_HTML_DOCUMENT_NODE;
}

int WriteToFile(void* file, const char* bytes, int count) {
  const std::string_view view(bytes, static_cast<size_t>(count));
  return static_cast<OutputFile*>(file)->Write(view) ? count : -1;
}

}  // namespace

XMLBase::XMLBase() = default;

XMLBase::~XMLBase() {
  Destroy();
}

void XMLBase::Destroy() {
  FreeLooseRoot();
  FreeDocument(doc);
  root = nullptr;
  ForgetNodes();
  incomplete = false;
}

// A root that was made without a document is in none.
void XMLBase::FreeLooseRoot() {
  if (root == nullptr || root->doc != nullptr) return;
  xmlFreeNode(root);
  root = nullptr;
}

// Nodes are about to go, or have gone: nothing may point at them.
void XMLBase::ForgetNodes() {
  currentAttr = nullptr;
  anchorLinks.clear();
  idOwners.clear();
  lastFound = nullptr;
  newest.clear();
}

std::uint32_t XMLBase::Init() {
  const std::uint32_t code = InitForOpf();
  if (code != EPUB_OK) return code;
  const ErrorSilence silence;
  xmlCreateIntSubset(doc, Xml("html"), Xml(kXhtml11PublicId), Xml(kXhtml11SystemId));
  if (silence.RanOutOfMemory()) incomplete = true;
  return EPUB_OK;
}

std::uint32_t XMLBase::InitForOpf() {
  if (doc != nullptr) Destroy();  // a root without a document stays
  doc = NewDocument();
  return doc == nullptr ? EPUB_E_CREATE_DOCUMENT : EPUB_OK;
}

std::uint32_t XMLBase::AppendElement(const char* parentPath, const char* name, xmlNode*& element) {
  if (!IsXmlName(Xml(name))) return EPUB_E_ARGUMENT;
  if (parentPath != nullptr) {
    xmlNode* parent = FindByRule(parentPath);
    if (parent == nullptr) return EPUB_E_NOT_FOUND;
    element = AppendNew(parent, name);
    newest.erase(name);
    if (element == nullptr) incomplete = true;
    return EPUB_OK;
  }
  element = Whole(xmlNewDocNode(doc, nullptr, Xml(name), nullptr));
  if (element == nullptr) {
    incomplete = true;
    return EPUB_E_CREATE_DOCUMENT;
  }
  FreeLooseRoot();
  root = element;
  ForgetNodes();
  if (doc != nullptr) xmlFreeNode(xmlDocSetRootElement(doc, root));
  return EPUB_OK;
}

std::uint32_t XMLBase::AddXMLNode(const char* parentPath, const char* name, XMLAttrInfo* attrs) {
  xmlNode* element = nullptr;
  const std::uint32_t code = AppendElement(parentPath, name, element);
  if (element == nullptr) return code;
  for (const XMLAttrInfo* attr = attrs; attr != nullptr; attr = attr->next) {
    if (!SetAttribute(element, attr->name, attr->value)) incomplete = true;
  }
  return code;
}

std::uint32_t XMLBase::AddElement(const char* parentPath, const char* name,
                                  std::initializer_list<XmlAttribute> attrs) {
  xmlNode* element = nullptr;
  const std::uint32_t code = AppendElement(parentPath, name, element);
  if (element == nullptr) return code;
  for (const XmlAttribute& attr : attrs) {
    if (!SetAttribute(element, attr.name, attr.value)) incomplete = true;
  }
  return code;
}

std::uint32_t XMLBase::AddTextToNode(const char* path, const char* text) {
  if (KavIsStrNullOrEmpty(path) != 0) return EPUB_E_ARGUMENT;
  xmlNode* element = FindByRule(path);
  if (element == nullptr) return EPUB_E_NOT_FOUND;
  if (xmlFirstElementChild(element) != nullptr) ForgetBelow(element);
  if (!SetText(element, ToXmlText(View(text)))) incomplete = true;
  return EPUB_OK;
}

std::uint32_t XMLBase::SetNodeAttribute(const char* path, const char* name, const char* value) {
  if (KavIsStrNullOrEmpty(path) != 0) return EPUB_E_ARGUMENT;
  xmlNode* element = FindByRule(path);
  if (element == nullptr) return EPUB_E_NOT_FOUND;
  if (!SetAttribute(element, name, value)) incomplete = true;
  return EPUB_OK;
}

std::uint32_t XMLBase::SaveFile(const char* fileName) {
  if (KavIsStrNullOrEmpty(fileName) != 0) return EPUB_E_ARGUMENT;
  if (doc == nullptr) return EPUB_E_NO_DOCUMENT;
  const ErrorSilence silence;
  // libxml2 takes a file name for a URI, in which "%20" is a blank, so it is not shown the name.
  OutputFile file(fileName);
  if (!file.IsOpen()) return EPUB_E_WRITE;
  // Texts are in UTF-8 already, so there is nothing to encode.
  xmlOutputBuffer* buffer = xmlOutputBufferCreateIO(WriteToFile, nullptr, &file, nullptr);
  if (buffer == nullptr) return EPUB_E_WRITE;
  const int written = xmlSaveFileTo(buffer, doc, kSavedEncoding);
  const bool isWhole = written >= 0 && !incomplete && !silence.RanOutOfMemory();
  return file.Close() && isWhole ? EPUB_OK : EPUB_E_WRITE;
}

xmlXPathObject* XMLBase::GetNodeSet(xmlDoc* doc, const xmlChar* xpath) {
  if (doc == nullptr || xpath == nullptr) return nullptr;
  const ErrorSilence silence;
  const std::unique_ptr<xmlXPathContext, decltype(&xmlXPathFreeContext)> context(
      xmlXPathNewContext(doc), &xmlXPathFreeContext);
  if (!context) return nullptr;
  xmlXPathObject* selected = xmlXPathEvalExpression(xpath, context.get());
  if (selected != nullptr && xmlXPathNodeSetIsEmpty(selected->nodesetval)) {
    xmlXPathFreeObject(selected);
    return nullptr;
  }
  return selected;
}

xmlNode* XMLBase::GenerateHeadNode(const char* title) {
  xmlNode* head = xmlNewNode(nullptr, Xml("head"));
  if (head == nullptr) return nullptr;
  xmlNode* heading = AppendNew(head, "title");
  xmlNode* link = AppendNew(head, "link");
  const bool complete =
      heading != nullptr && link != nullptr && SetText(heading, ToXmlText(View(title))) &&
      SetAttribute(link, "rel", "stylesheet") && SetAttribute(link, "type", "text/css") &&
      SetAttribute(link, "href", "main.css");
  if (complete) return head;
  xmlFreeNode(head);
  return nullptr;
}

// Without recursion, because a tree that a host has built can be deeper than the stack.
std::uint32_t XMLBase::DelCommentNode(xmlNode* first) {
  if (first == nullptr) return EPUB_E_NOT_FOUND;
  const xmlNode* top = first->parent;
  for (xmlNode* node = first; node != nullptr;) {
    const bool isNamedComment = xmlStrEqual(node->name, Xml("comment")) != 0;
    if (!isNamedComment && MayHoldNodes(node) && node->children != nullptr) {
      node = node->children;
      continue;
    }
    const xmlNode* last = node;
    while (last->next == nullptr && last->parent != top) last = last->parent;
    xmlNode* next = last->next;
    if (node->type == XML_CDATA_SECTION_NODE ||
        (isNamedComment && node->type == XML_COMMENT_NODE)) {
      xmlUnlinkNode(node);
      xmlFreeNode(node);
    }
    node = next;
  }
  return EPUB_OK;
}

std::uint32_t XMLBase::DelNode(xmlNode* node) {
  if (node == nullptr) return EPUB_OK;
  ForgetBelow(node);
  if (lastFound == node) lastFound = nullptr;
  if (root == node) root = nullptr;
  xmlUnlinkNode(node);
  xmlFreeNode(node);
  return EPUB_OK;
}
