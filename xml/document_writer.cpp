// Writing of a document with libxml2's writer.
#include "xml/document_writer.h"

#include "fileutil/result_codes.h"
#include "xml/saved_document.h"
#include "xml/text_gate.h"
#include "xml/xml_text.h"

DocumentWriter::DocumentWriter(const std::string& path, Type type) : file(path) {
  SetUpLibxml2();
  if (file.IsOpen()) buffer = NewOutputBuffer(file);
  if (buffer != nullptr) writer.reset(xmlNewTextWriter(buffer));
  if (writer == nullptr) {
    xmlOutputBufferClose(buffer);
    failed = true;
    return;
  }
  Check(xmlTextWriterStartDocument(writer.get(), nullptr, kSavedEncoding, nullptr));
  if (type == Type::kNone) return;
  Check(xmlTextWriterWriteDTD(writer.get(), Xml("html"), Xml(kXhtml11PublicId),
                              Xml(kXhtml11SystemId), nullptr));
  Check(xmlTextWriterWriteRaw(writer.get(), Xml("\n")));
}

void DocumentWriter::Begin(const char* name, std::initializer_list<XmlAttribute> attributes) {
  if (failed) return;
  Check(xmlTextWriterStartElement(writer.get(), Xml(name)));
  for (const auto& [attribute, value] : attributes) {
    Check(xmlTextWriterWriteAttribute(writer.get(), Xml(attribute), Xml(ToXmlCharacters(value))));
  }
}

void DocumentWriter::Text(const std::string& text) {
  WriteCharacters(ToXmlCharacters(text));
}

void DocumentWriter::ResolvedText(const std::string& text) {
  WriteCharacters(ToXmlText(text));
}

// The writer itself would escape quotes too, which a saved tree leaves as they are.
void DocumentWriter::WriteCharacters(const std::string& characters) {
  if (failed || characters.empty()) return;
  Check(xmlTextWriterWriteRaw(writer.get(), Xml("")));  // ends the start tag
  Check(xmlOutputBufferWriteEscape(buffer, Xml(characters), nullptr));
}

void DocumentWriter::End() {
  if (!failed) Check(xmlTextWriterEndElement(writer.get()));
}

void DocumentWriter::Element(const char* name, std::initializer_list<XmlAttribute> attributes,
                             const std::string& text) {
  Begin(name, attributes);
  Text(text);
  End();
}

std::uint32_t DocumentWriter::Close() {
  if (!failed) Check(xmlTextWriterEndDocument(writer.get()));
  writer.reset();
  const bool closed = file.Close();
  return closed && !failed ? EPUB_OK : EPUB_E_WRITE;
}
