// Looks into the head of a page.
#include "hosts/kavepub/source/html_metadata.h"

#include <libxml/HTMLparser.h>
#include <libxml/xpath.h>

#include <fstream>
#include <iterator>
#include <memory>

namespace {

constexpr size_t kEnoughForTheHead = size_t{1} << 18;

using Document = std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)>;

std::string ReadBeginning(const std::filesystem::path& page) {
  std::string beginning(kEnoughForTheHead, '\0');
  std::ifstream file(page, std::ios::binary);
  file.read(beginning.data(), static_cast<std::streamsize>(beginning.size()));
  beginning.resize(static_cast<size_t>(file.gcount()));
  return beginning;
}

Document Parse(const std::string& html) {
  // Valid UTF-8 is read as such, whatever the page declares. The end may cut a letter in two.
  const size_t lastAscii = html.find_last_of('>');
  const std::string complete = html.substr(0, lastAscii == std::string::npos ? 0 : lastAscii + 1);
  const bool isUtf8 = xmlCheckUTF8(reinterpret_cast<const xmlChar*>(complete.c_str())) != 0;
  constexpr int kOptions =
      HTML_PARSE_RECOVER | HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING | HTML_PARSE_NONET;
  return {htmlReadMemory(complete.data(), static_cast<int>(complete.size()), nullptr,
                         isUtf8 ? "UTF-8" : nullptr, kOptions),
          &xmlFreeDoc};
}

std::string Evaluate(xmlDoc* document, const char* expression) {
  const std::unique_ptr<xmlXPathContext, decltype(&xmlXPathFreeContext)> context(
      xmlXPathNewContext(document), &xmlXPathFreeContext);
  const std::unique_ptr<xmlXPathObject, decltype(&xmlXPathFreeObject)> result(
      xmlXPathEval(reinterpret_cast<const xmlChar*>(expression), context.get()),
      &xmlXPathFreeObject);
  const bool isText = result && result->stringval != nullptr;
  return isText ? reinterpret_cast<const char*>(result->stringval) : std::string();
}

}  // namespace

HtmlMetadata ReadHtmlMetadata(const std::filesystem::path& page) {
  const Document document = Parse(ReadBeginning(page));
  if (!document) return {};
  return {
      Evaluate(document.get(), "normalize-space(//title)"),
      Evaluate(document.get(),
               "normalize-space(//meta[translate(@name, 'AUTHOR', 'author')='author']/@content)")};
}
