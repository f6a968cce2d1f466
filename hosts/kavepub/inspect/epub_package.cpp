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
          package.Count("count(//*[local-name()='itemref'])"),
          package.Count("count(//*[local-name()='item'][starts-with(@media-type, 'image/')])")};
}
