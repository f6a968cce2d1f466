// The HTML of a MOBI book: its pictures, which it names by record number, get file names.
#include <libxml/HTMLparser.h>
#include <libxml/xmlsave.h>
#include <libxml/xpath.h>

#include <cstdlib>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "base/encoding/html_encoding.h"
#include "base/error_silence.h"
#include "base/output_file.h"
#include "base/read_file.h"
#include "base/text_gate.h"
#include "base/well_formed.h"
#include "platform/kav_tool/kav_tool.h"
#include "xml/html_parser.h"
#include "xml/repair_state.h"
#include "xml/xml_base.h"

namespace {

constexpr int kReadingOptions = HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING | HTML_PARSE_NOBLANKS;

struct FreeBuffer {
  void operator()(xmlBuffer* buffer) const { xmlBufferFree(buffer); }
};

std::vector<xmlNode*> NodesNamed(xmlDoc* doc, const char* xpath) {
  xmlXPathObject* selected = XMLBase::GetNodeSet(doc, Xml(xpath));
  if (selected == nullptr) return {};
  const xmlNodeSet* set = selected->nodesetval;
  std::vector<xmlNode*> nodes(set->nodeTab, set->nodeTab + set->nodeNr);
  xmlXPathFreeObject(selected);
  return nodes;
}

void Delete(xmlNode* node) {
  xmlUnlinkNode(node);
  xmlFreeNode(node);
}

void ReplaceByImage(xmlNode* node, const std::string& source) {
  xmlNode* image = xmlNewDocNode(node->doc, nullptr, Xml("img"), nullptr);
  if (image == nullptr) throw std::bad_alloc();
  xmlReplaceNode(node, image);
  SetAttribute(image, Xml("src"), Xml(ToXmlCharacters(source)));
  xmlFreeNode(node);
}

void ResolveRecords(xmlDoc* doc, const std::vector<std::string>& images) {
  for (xmlNode* node : NodesNamed(doc, "//img")) {
    const xmlAttr* record = FindAttribute(node, Xml("recindex"));
    if (record == nullptr) continue;
    xmlChar* value = xmlNodeListGetString(doc, record->children, 1);
    const auto* digits = value == nullptr ? "" : reinterpret_cast<const char*>(value);
    // A negative number counts as a very large one, and what is none as 0.
    const auto index = static_cast<unsigned long>(std::strtol(digits, nullptr, 10));
    xmlFree(value);
    if (index < images.size()) {
      ReplaceByImage(node, images[index]);
    } else {
      Delete(node);
    }
  }
}

// Further "image" elements stay as they are.
void ResolveCover(xmlDoc* doc, const std::string& cover) {
  const std::vector<xmlNode*> nodes = NodesNamed(doc, "//image");
  if (nodes.empty()) return;
  if (cover.empty()) {
    Delete(nodes.front());
  } else {
    ReplaceByImage(nodes.front(), cover);
  }
}

void DeleteNestedDocuments(xmlDoc* doc) {
  std::vector<xmlNode*> nested = NodesNamed(doc, "//html");
  if (!nested.empty()) nested.erase(nested.begin());
  // One may lie inside another.
  for (xmlNode* node : nested) xmlUnlinkNode(node);
  for (xmlNode* node : nested) xmlFreeNode(node);
}

// False when the encoding is unknown or the file does not take all of it.
bool Save(xmlDoc* doc, const char* encoding, const char* path) {
  xmlCharEncodingHandler* handler = nullptr;
  if (encoding != nullptr) {
    handler = xmlFindCharEncodingHandler(encoding);
    if (handler == nullptr) return false;
  }
  const std::unique_ptr<xmlBuffer, FreeBuffer> saved(xmlBufferCreate());
  if (saved == nullptr) return false;
  xmlOutputBuffer* output = xmlOutputBufferCreateBuffer(saved.get(), handler);
  if (output == nullptr || xmlSaveFileTo(output, doc, encoding) < 0) return false;
  OutputFile file(path);
  if (!file.IsOpen()) return false;
  file.Write({reinterpret_cast<const char*>(xmlBufferContent(saved.get())),
              static_cast<size_t>(xmlBufferLength(saved.get()))});
  return file.Close();
}

}  // namespace

int XMLBase::MobiHtmlProcess(const char* htmlPath, const char* encoding,
                             std::vector<std::string>& images) {
  if (KavIsFileExists(htmlPath) == 0) return EPUB_E_MISSING;
  if (images.empty()) return EPUB_OK;
  const ErrorSilence silence;
  const auto html = ReadRegularFile(htmlPath);
  if (!html) return EPUB_E_OPEN;
  const XmlDocument doc =
      ParseHtml(HtmlToUtf8(*html, encoding == nullptr ? "" : encoding), "UTF-8", kReadingOptions);
  if (doc == nullptr || xmlDocGetRootElement(doc.get()) == nullptr) return EPUB_E_OPEN;
  ResolveRecords(doc.get(), images);
  ResolveCover(doc.get(), images.front());
  DeleteNestedDocuments(doc.get());
  MakeWellFormed(doc.get(), encoding);
  return Save(doc.get(), encoding, htmlPath) ? EPUB_OK : EPUB_E_MOBI_HTML;
}
