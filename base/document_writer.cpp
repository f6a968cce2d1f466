// Writing of a document's markup, with the escapes that libxml2 gives a saved tree.
#include "base/document_writer.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "base/text_gate.h"

namespace {

constexpr std::string_view kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
constexpr std::string_view kXhtml11Type =
    "<!DOCTYPE html PUBLIC \"-//W3C//DTD XHTML 1.1//EN\" "
    "\"http://www.w3.org/TR/xhtml11/DTD/xhtml11.dtd\">\n";

constexpr char kSpecialInText[] = "<>&\r";
constexpr char kSpecialInAttributes[] = "<>&\r\"\n\t";

constexpr struct {
  char character;
  std::string_view reference;
} kReferences[] = {{'<', "&lt;"},   {'>', "&gt;"},   {'&', "&amp;"}, {'"', "&quot;"},
                   {'\r', "&#13;"}, {'\n', "&#10;"}, {'\t', "&#9;"}};

std::string_view ReferenceTo(char character) {
  return std::find_if(std::begin(kReferences), std::end(kReferences),
                      [=](const auto& row) { return row.character == character; })
      ->reference;
}

}  // namespace

DocumentWriter::DocumentWriter(const std::string& path, Type type) : file(path) {
  file.Write(kDeclaration);
  if (type == Type::kXhtml11) file.Write(kXhtml11Type);
}

void DocumentWriter::Begin(const char* name, std::initializer_list<Attribute> attributes) {
  EndStartTag();
  file.Write("<");
  file.Write(name);
  for (const auto& [attribute, value] : attributes) {
    file.Write(" ");
    file.Write(attribute);
    file.Write("=\"");
    WriteEscaped(ToXmlCharacters(value), kSpecialInAttributes);
    file.Write("\"");
  }
  open.push_back(name);
  isInStartTag = true;
}

void DocumentWriter::Text(const std::string& text) {
  WriteCharacters(ToXmlCharacters(text));
}

void DocumentWriter::ResolvedText(const std::string& text) {
  WriteCharacters(ToXmlText(text));
}

void DocumentWriter::End() {
  if (isInStartTag) {
    file.Write("/>");
    isInStartTag = false;
  } else {
    file.Write("</");
    file.Write(open.back());
    file.Write(">");
  }
  open.pop_back();
}

void DocumentWriter::Element(const char* name, std::initializer_list<Attribute> attributes,
                             const std::string& text) {
  Begin(name, attributes);
  Text(text);
  End();
}

bool DocumentWriter::Close() {
  file.Write("\n");
  return file.Close();
}

void DocumentWriter::EndStartTag() {
  if (isInStartTag) file.Write(">");
  isInStartTag = false;
}

// An element without characters stays an empty one.
void DocumentWriter::WriteCharacters(const std::string& characters) {
  if (characters.empty()) return;
  EndStartTag();
  WriteEscaped(characters, kSpecialInText);
}

void DocumentWriter::WriteEscaped(const std::string& characters, const char* special) {
  const char* rest = characters.c_str();
  for (;;) {
    const size_t plain = std::strcspn(rest, special);
    file.Write({rest, plain});
    rest += plain;
    if (*rest == '\0') return;
    file.Write(ReferenceTo(*rest++));
  }
}
