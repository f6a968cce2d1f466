// The few helpers that every user of libxml2 here needs: its string type, names and set-up.
#ifndef KAV_BASE_XML_TEXT_H
#define KAV_BASE_XML_TEXT_H

#include <libxml/parser.h>
#include <libxml/valid.h>

#include <memory>
#include <mutex>
#include <string>
#include <string_view>

inline constexpr std::string_view kReplacementCharacter = "\xEF\xBF\xBD";  // U+FFFD

// A new string of libxml2.
struct FreeXmlString {
  void operator()(xmlChar* text) const { xmlFree(text); }
};
using XmlString = std::unique_ptr<xmlChar, FreeXmlString>;

inline std::string TextOf(const XmlString& text) {
  return text == nullptr ? "" : reinterpret_cast<const char*>(text.get());
}

inline const xmlChar* Xml(const char* text) {
  return reinterpret_cast<const xmlChar*>(text);
}

inline const xmlChar* Xml(const std::string& text) {
  return Xml(text.c_str());
}

// libxml2 alone would let names pass that end in bytes which are not UTF-8, or that its parser, for
// which a name begins behind a prefix and another one, too ("a:b:1"), cannot read.
inline bool IsXmlName(const xmlChar* name) {
  if (name == nullptr || xmlCheckUTF8(name) == 0 || xmlValidateNameValue(name) == 0) return false;
  const xmlChar* first = xmlStrchr(name, ':');
  const xmlChar* second = first == nullptr ? nullptr : xmlStrchr(first + 1, ':');
  if (second == nullptr || second[1] == '\0') return true;
  const bool hasPrefixes =
      first != name && second != first + 1 && xmlValidateNameValue(first + 1) != 0;
  return !hasPrefixes || xmlValidateNameValue(second + 1) != 0;
}

// libxml2 must be set up once before threads use it.
inline void SetUpLibxml2() {
  static std::once_flag once;
  std::call_once(once, xmlInitParser);
}

#endif
