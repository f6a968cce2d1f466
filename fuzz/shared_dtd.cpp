// One DTD for all books of a process. To parse it takes longer than everything else that a target
// does, and it is the same each time: the libraries get these functions in the place of libxml2's.
#include <dlfcn.h>
#include <libxml/parser.h>

#include <string_view>

#include "xml/xml_base.h"

namespace {

xmlDtd* shared = nullptr;

template <typename Function>
Function* Replaced(Function* /*replacement*/, const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

bool IsStrictDtd(const xmlParserInputBuffer* input) {
  static const std::string_view text = kXhtml1StrictDtd[0];
  const auto* bytes = reinterpret_cast<const char*>(xmlBufContent(input->buffer));
  return std::string_view(bytes, xmlBufUse(input->buffer)) == text;
}

}  // namespace

#pragma GCC visibility push(default)

extern "C" xmlDtd* xmlIOParseDTD(xmlSAXHandler* sax, xmlParserInputBuffer* input,
                                 xmlCharEncoding encoding) {
  static auto* const parse = Replaced(xmlIOParseDTD, "xmlIOParseDTD");
  if (!IsStrictDtd(input)) return parse(sax, input, encoding);
  if (shared == nullptr) {
    shared = parse(sax, input, encoding);
  } else {
    xmlFreeParserInputBuffer(input);
  }
  return shared;
}

extern "C" void xmlFreeDtd(xmlDtd* dtd) {
  static auto* const free = Replaced(xmlFreeDtd, "xmlFreeDtd");
  if (dtd == nullptr || dtd != shared) free(dtd);
}

#pragma GCC visibility pop
