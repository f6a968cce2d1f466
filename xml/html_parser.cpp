// Drives libxml2's HTML parser so that it loses nothing and its cost grows with the input only.
#include "xml/html_parser.h"

#include <libxml/HTMLparser.h>
#include <libxml/SAX2.h>
#include <libxml/parser.h>

#include <climits>
#include <new>
#include <string_view>
#include <utility>

#include "base/error_silence.h"
#include "base/xml_text.h"
#include "xml/attribute_limit.h"

namespace {

// libxml2 gives up on a document at 256 open elements.
constexpr int kDeepestElement = 250;
// An end tag is searched among all names that are open.
constexpr int kMostOpenNames = 1000;
// Each attribute of a tag is compared with all before it; the parser makes room for so many names
// and values.
constexpr int kMostAttributeRoom = 20'000;

struct FreeParser {
  void operator()(htmlParserCtxt* parser) const { htmlFreeParserCtxt(parser); }
};

// The elements that are open for the parser and closed in the tree; kept in the parser's _private.
int& Flattened(htmlParserCtxt* parser) {
  return *static_cast<int*>(parser->_private);
}

// The parser takes the enclosing element of the newest one for closed.
void ForgetEnclosingName(htmlParserCtxt* parser) {
  parser->nameTab[parser->nameNr - 2] = parser->nameTab[parser->nameNr - 1];
  --parser->nameNr;
  --Flattened(parser);
}

void StartElement(void* context, const xmlChar* name, const xmlChar** attributes) {
  auto* parser = static_cast<htmlParserCtxt*>(context);
  xmlSAX2StartElement(context, name, attributes);
  if (parser->nodeNr <= kDeepestElement) return;
  xmlSAX2EndElement(context, name);
  ++Flattened(parser);
  if (parser->nameNr > kMostOpenNames) ForgetEnclosingName(parser);
}

void EndElement(void* context, const xmlChar* name) {
  auto* parser = static_cast<htmlParserCtxt*>(context);
  if (Flattened(parser) > 0) {
    --Flattened(parser);
  } else {
    xmlSAX2EndElement(context, name);
  }
}

// Texts may be huge, nesting may not; libxml2 has one option for both.
void Characters(void* context, const xmlChar* text, int length) {
  auto* parser = static_cast<htmlParserCtxt*>(context);
  const int options = parser->options;
  parser->options |= XML_PARSE_HUGE;
  xmlSAX2Characters(context, text, length);
  parser->options = options;
}

// Hands a text to the parser piece by piece, for as long as the parser keeps to the limit.
struct Feed {
  std::string_view rest;
  const htmlParserCtxt* parser;
  bool isCutOff = false;
};

int Read(void* context, char* buffer, int size) {
  Feed& feed = *static_cast<Feed*>(context);
  feed.isCutOff = feed.parser->maxatts > kMostAttributeRoom;
  if (feed.isCutOff) return 0;
  const size_t count = feed.rest.copy(buffer, static_cast<size_t>(size));
  feed.rest.remove_prefix(count);
  return static_cast<int>(count);
}

}  // namespace

XmlDocument ParseHtml(const std::string& html, const char* encoding, int options) {
  SetUpLibxml2();
  const ErrorSilence silence;
  const std::string limited = LimitAttributes(html);
  const std::string& source = limited.empty() ? html : limited;
  if (source.size() > INT_MAX) return nullptr;
  const std::unique_ptr<htmlParserCtxt, FreeParser> parser(htmlNewParserCtxt());
  if (parser == nullptr) throw std::bad_alloc();
  int flattened = 0;
  parser->_private = &flattened;
  parser->loadsubset |= XML_SKIP_IDS;  // nobody looks an element up by its id
  parser->sax->startElement = StartElement;
  parser->sax->endElement = EndElement;
  parser->sax->characters = Characters;
  // All errors are heard, as one of them tells that memory ran out and the rest is missing.
  parser->sax->error = ErrorSilence::Listen;
  parser->vctxt.error = ErrorSilence::Listen;
  Feed feed{source, parser.get()};
  XmlDocument doc(htmlCtxtReadIO(parser.get(), Read, nullptr, &feed, nullptr, encoding,
                                 options & ~HTML_PARSE_NOERROR));
  if (silence.RanOutOfMemory()) throw std::bad_alloc();
  return feed.isCutOff ? nullptr : std::move(doc);
}
