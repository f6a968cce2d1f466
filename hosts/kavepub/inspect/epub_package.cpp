// Opens the container of an EPUB and reads its package document.
#include "hosts/kavepub/inspect/epub_package.h"

#include <libxml/parser.h>
#include <libxml/xpath.h>
#include <unzip.h>

#include <memory>

#include "hosts/kavepub/console/failure.h"

namespace {

constexpr char kContainerName[] = "META-INF/container.xml";
constexpr uLong kLargestDocument = 256UL << 20;

struct CloseArchive {
  void operator()(void* archive) const { unzClose(archive); }
};
using Archive = std::unique_ptr<void, CloseArchive>;
using Document = std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)>;

const xmlChar* Xml(const char* text) {
  return reinterpret_cast<const xmlChar*>(text);
}

// The content of an entry; empty when there is none, or it is damaged or out of all proportion.
std::string ReadEntry(const Archive& archive, const std::string& name) {
  constexpr int kCaseSensitive = 1;
  unz_file_info64 info = {};
  if (unzLocateFile(archive.get(), name.c_str(), kCaseSensitive) != UNZ_OK ||
      unzGetCurrentFileInfo64(archive.get(), &info, nullptr, 0, nullptr, 0, nullptr, 0) != UNZ_OK ||
      info.uncompressed_size > kLargestDocument || unzOpenCurrentFile(archive.get()) != UNZ_OK) {
    return {};
  }
  std::string content(info.uncompressed_size, '\0');
  const int count =
      unzReadCurrentFile(archive.get(), content.data(), static_cast<unsigned>(content.size()));
  const bool isSound = unzCloseCurrentFile(archive.get()) == UNZ_OK;
  return isSound && count == static_cast<int>(content.size()) ? content : std::string();
}

class XmlQuery {
 public:
  explicit XmlQuery(const std::string& text)
      : document(xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr,
                               XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING),
                 &xmlFreeDoc) {}

  bool IsValid() const { return document != nullptr; }

  std::string Text(const char* expression) const {
    const auto result = Evaluate(expression);
    const bool isText = result && result->stringval != nullptr;
    return isText ? reinterpret_cast<const char*>(result->stringval) : std::string();
  }

  // The nodes of an expression, in the order of the document.
  std::vector<xmlNode*> Nodes(const char* expression) const {
    const auto result = Evaluate(expression);
    const xmlNodeSet* nodes = result ? result->nodesetval : nullptr;
    if (nodes == nullptr) return {};
    return {nodes->nodeTab, nodes->nodeTab + nodes->nodeNr};
  }

  std::size_t Count(const char* expression) const {
    const auto result = Evaluate(expression);
    return result ? static_cast<std::size_t>(result->floatval) : 0;
  }

 private:
  using Result = std::unique_ptr<xmlXPathObject, decltype(&xmlXPathFreeObject)>;

  Result Evaluate(const char* expression) const {
    const std::unique_ptr<xmlXPathContext, decltype(&xmlXPathFreeContext)> context(
        xmlXPathNewContext(document.get()), &xmlXPathFreeContext);
    return {context ? xmlXPathEval(Xml(expression), context.get()) : nullptr, &xmlXPathFreeObject};
  }

  Document document;
};

bool IsCalled(const xmlNode* node, const char* name) {
  return node->type == XML_ELEMENT_NODE && xmlStrEqual(node->name, Xml(name)) != 0;
}

const xmlNode* ChildOf(const xmlNode* node, const char* name) {
  const xmlNode* child = node == nullptr ? nullptr : node->children;
  while (child != nullptr && !IsCalled(child, name)) child = child->next;
  return child;
}

std::string LabelOf(const xmlNode* point) {
  const xmlNode* text = ChildOf(ChildOf(point, "navLabel"), "text");
  if (text == nullptr) return {};
  const std::unique_ptr<xmlChar, decltype(xmlFree)> content(xmlNodeGetContent(text), xmlFree);
  return content ? reinterpret_cast<const char*>(content.get()) : std::string();
}

unsigned LevelOf(const xmlNode* point) {
  unsigned level = 1;
  while ((point = point->parent) != nullptr) level += IsCalled(point, "navPoint") ? 1 : 0;
  return level;
}

// The contents that a package lists, none when it has no navigation document.
std::vector<BookReport::Chapter> ReadContents(const Archive& archive, const XmlQuery& package,
                                              const std::string& packagePath) {
  const std::string name = package.Text(
      "string(//*[local-name()='item'][@media-type='application/x-dtbncx+xml']/@href)");
  if (name.empty()) return {};
  const std::string folder = packagePath.substr(0, packagePath.rfind('/') + 1);
  const XmlQuery navigation(ReadEntry(archive, folder + name));
  if (!navigation.IsValid()) return {};
  std::vector<BookReport::Chapter> contents;
  for (const xmlNode* point : navigation.Nodes("//*[local-name()='navPoint']")) {
    contents.push_back({LabelOf(point), LevelOf(point), 0});
  }
  return contents;
}

}  // namespace

EpubPackage ReadEpubPackage(const std::filesystem::path& book) {
  const Archive archive(unzOpen64(book.c_str()));
  if (!archive) throw Failure(book, "is no EPUB book, or damaged; open it in a reader to see");
  const XmlQuery container(ReadEntry(archive, kContainerName));
  const std::string packagePath =
      container.IsValid() ? container.Text("string(//*[local-name()='rootfile']/@full-path)") : "";
  const XmlQuery package(ReadEntry(archive, packagePath));
  if (!package.IsValid())
    throw Failure(book, "is a ZIP file without the documents of an EPUB book");
  return {package.Text("string(//*[local-name()='identifier'])"),
          package.Text("normalize-space(//*[local-name()='title'])"),
          package.Text("normalize-space(//*[local-name()='creator'])"),
          package.Text("normalize-space(//*[local-name()='language'])"),
          package.Count("count(//*[local-name()='itemref'])"),
          package.Count("count(//*[local-name()='item'][starts-with(@media-type, 'image/')])"),
          ReadContents(archive, package, packagePath)};
}
