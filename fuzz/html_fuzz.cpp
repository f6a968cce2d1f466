// The clean-up of one page: what comes out is XML without scripts and, once it is valid, keeps its
// text.
#include <cstdlib>
#include <string_view>

#include "fuzz/book_check.h"
#include "fuzz/harness.h"
#include "xml/xml_base.h"

namespace {

// Those of subdirectories are also beside the page, where its links lead once it has been cleaned.
constexpr const char* kFiles[] = {"p.png",     "b.html", "a b.png",
                                  "sub/q.jpg", "q.jpg",  "private.png"};
constexpr char kText[] = "string(//*[local-name()='body'])";
// Of schemes, case does not matter to a reader, nor do blanks. The rules are about "a" only.
constexpr char kActive[] =
    "count(//*[local-name()='script' or @onclick or @onmouseover or @onkeydown or"
    " starts-with(translate(@src, 'HTP', 'htp'), 'http:')] | //*[local-name()='a' and"
    " starts-with(translate(@href, 'JAVSCRIPT \t\r\n', 'javscript'), 'javascript:')])";

// What a page becomes; empty when there is nothing in it.
std::string Cleaned(const std::string& html, Sandbox& box, const std::string& name) {
  box.Write("site/" + name, html);
  const std::string target = box / ("out/" + name);
  XMLBase page;
  page.Init();
  const int code = page.HtmlProcess((box / ("site/" + name)).c_str(), (box / "site").c_str(), "T",
                                    (box / "site/xhtml.dtd").c_str());
  Require(code == EPUB_OK || code == EPUB_E_OPEN || code == EPUB_E_NOT_FOUND, "a page is cleaned");
  if (code != EPUB_OK) return "";
  Require(page.SaveFile(target.c_str()) == EPUB_OK, "a page is saved");
  while (char* source = page.GetXhtmlExternSource()) {
    Require(std::filesystem::is_regular_file(box / ("site/" + std::string(source))), "it is there");
    std::free(source);
  }
  return ReadFile(target);
}

// The other way of a page, from a MOBI book; its result is written over it.
void RewriteRecords(const std::string& html, Sandbox& box) {
  constexpr const char* kEncodings[] = {nullptr, "UTF-8", "windows-1252", "gb18030"};
  const std::string path = box / "out/mobi.html";
  std::ofstream(path, std::ios::binary) << html;
  std::vector<std::string> images = {"p.png", "<q>&\".png"};
  const char* encoding = kEncodings[html.size() % std::size(kEncodings)];
  const int code = XMLBase::MobiHtmlProcess(path.c_str(), encoding, images);
  Require(code == EPUB_OK || code == EPUB_E_OPEN, "records are resolved");
  if (code == EPUB_OK) RequiredXml(ReadFile(path), "the page of a MOBI book");
}

void Ignore(void* /*context*/, const char* /*message*/, ...) {}

xmlDtd* ParsedDtd() {
  const std::string_view text = kXhtml1StrictDtd[0];
  xmlParserInputBuffer* input = xmlParserInputBufferCreateMem(
      text.data(), static_cast<int>(text.size()), XML_CHAR_ENCODING_NONE);
  return xmlIOParseDTD(nullptr, input, XML_CHAR_ENCODING_NONE);
}

bool IsValid(const XmlDoc& page) {
  static xmlDtd* const dtd = ParsedDtd();
  xmlValidCtxt* context = xmlNewValidCtxt();
  context->error = Ignore;
  const bool isValid = xmlValidateDtd(context, page.get(), dtd) == 1;
  xmlFreeValidCtxt(context);
  return isValid;
}

std::string ValueOf(const std::string& expression, const std::string& page) {
  return XPathTexts(ParseXml(page), expression).front();
}

}  // namespace

void Fuzz(const std::string& input, Sandbox& box) {
  for (const char* name : kFiles) box.Keep(std::string("site/") + name, "x");
  box.Keep("site/xhtml.dtd", kXhtml1StrictDtd[0]);
  RewriteRecords(input, box);
  const std::string once = Cleaned(input, box, "once.html");
  if (once.empty()) return;
  const XmlDoc page = RequiredXml(once, "the page");
  Require(ValueOf(kActive, once) == "0", "nothing active is left");
  // HTML and XML end instructions differently.
  if (!IsValid(page) || ValueOf("count(//processing-instruction())", once) != "0") return;
  const std::string twice = Cleaned(once, box, "twice.html");
  if (twice == once) return;
  Require(ValueOf(kText, twice) == ValueOf(kText, once), "a valid page keeps its text: " + twice);
  Require(Cleaned(twice, box, "thrice.html") == twice, "repairs settle: " + twice);
}
