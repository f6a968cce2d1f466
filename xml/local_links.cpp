// The local files of a page: which they are, and what the page calls them in the book.
#include <libxml/parser.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#include "base/error_silence.h"
#include "base/read_file.h"
#include "platform/kav_tool/kav_tool.h"
#include "xml/repair_state.h"
#include "xml/xml_base.h"

void XMLBase::SetImport(FileTest isLocal, FileReader reader, DtdCache* cache) {
  isLocalFile = std::move(isLocal);
  readPage = std::move(reader);
  dtdCache = cache;
}

bool XMLBase::IsLocalFile(const std::string& path) const {
  const std::string full = baseDir + "/" + path;
  return isLocalFile ? isLocalFile(full) : KavIsFileExists(full.c_str()) != 0;
}

char* XMLBase::GetXhtmlExternSource() {
  if (externSources.empty()) return nullptr;
  char* path = strdup(externSources.back().c_str());
  if (path == nullptr) throw std::bad_alloc();
  externSources.pop_back();
  return path;
}

// A node that goes later takes its mark along; a list of nodes would have to be kept true.
void XMLBase::MarkLink(xmlNode* node) {
  linkMarks.push_back(externSources.size());
  node->_private = &linkMarks.back();
}

void XMLBase::PointLinks(const std::vector<std::string>& references) {
  const ErrorSilence silence;
  for (xmlNode* node = root; node != nullptr; node = NextElement(node)) {
    const auto* mark = static_cast<const size_t*>(std::exchange(node->_private, nullptr));
    if (mark == nullptr || *mark > references.size()) continue;
    const xmlChar* attribute = Xml(NameOf(node) == "img" ? "src" : "href");
    if (FindAttribute(node, attribute) == nullptr) continue;
    SetAttribute(node, attribute, Xml(references[references.size() - *mark]));
  }
  if (silence.RanOutOfMemory()) incomplete = true;
}

bool XMLBase::NeutralizeLinks(const std::string& path,
                              const std::unordered_set<std::string>& references) {
  const ErrorSilence silence;
  const auto text = ReadRegularFile(path.c_str());
  if (!text || text->size() > INT_MAX) return false;
  XMLBase page;
  page.doc = xmlReadMemory(text->data(), static_cast<int>(text->size()), nullptr, nullptr,
                           XML_PARSE_HUGE | XML_PARSE_NONET);
  if (page.doc == nullptr) return false;
  page.root = xmlDocGetRootElement(page.doc);
  bool hasChanged = false;
  for (xmlNode* node = page.root; node != nullptr; node = NextElement(node)) {
    const xmlAttr* href = NameOf(node) == "a" ? FindAttribute(node, Xml("href")) : nullptr;
    if (href == nullptr || href->children == nullptr) continue;
    const std::string target = reinterpret_cast<const char*>(href->children->content);
    if (target.starts_with('#')) page.anchorLinks.push_back(node);
    if (references.count(target) == 0) continue;
    Neutralize(node);
    hasChanged = true;
  }
  if (hasChanged) page.NeutralizeDeadFragments({});  // ids have gone with their links
  if (silence.RanOutOfMemory()) return false;
  return !hasChanged || page.SaveFile(path.c_str()) == EPUB_OK;
}
