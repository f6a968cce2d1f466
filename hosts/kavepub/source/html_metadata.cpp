// Looks into the head of a page.
#include "hosts/kavepub/source/html_metadata.h"

#include <libxml/HTMLparser.h>
#include <libxml/xpath.h>

#include <memory>

#include "base/encoding/html_encoding.h"

namespace {

constexpr size_t kEnoughForTheHead = size_t{1} << 18;

using Document = std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)>;

// As much of a page as holds its head, decoded like the whole of it.
std::string ReadHead(const std::filesystem::path& page, const std::string& encoding) {
  std::string head = ReadHtmlFile(page.c_str(), encoding).value_or("");
  // Not up to half a letter.
  if (head.size() > kEnoughForTheHead) head.resize(head.rfind('>', kEnoughForTheHead) + 1);
  return head;
}

Document Parse(const std::string& html) {
  constexpr int kOptions =
      HTML_PARSE_RECOVER | HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING | HTML_PARSE_NONET;
  return {htmlReadMemory(html.data(), static_cast<int>(html.size()), nullptr, "UTF-8", kOptions),
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

HtmlMetadata ReadHtmlMetadata(const std::filesystem::path& page, const std::string& encoding) {
  const Document document = Parse(ReadHead(page, encoding));
  if (!document) return {};
  return {
      Evaluate(document.get(), "normalize-space(//title)"),
      Evaluate(document.get(),
               "normalize-space(//meta[translate(@name, 'AUTHOR', 'author')='author']/@content)")};
}
