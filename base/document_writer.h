// Writes an XML document from its first element to its last, without holding it in memory.
#ifndef KAV_BASE_DOCUMENT_WRITER_H
#define KAV_BASE_DOCUMENT_WRITER_H

#include <initializer_list>
#include <string>
#include <vector>

#include "base/output_file.h"

// Names are taken as they are. Texts and attribute values may hold any bytes, as those of XMLBase;
// "&" stands for itself. The bytes written are those that libxml2 writes for the same tree.
class DocumentWriter {
 public:
  enum class Type { kNone, kXhtml11 };

  struct Attribute {
    const char* name;
    const char* value;
  };

  DocumentWriter(const std::string& path, Type type);

  // The name has to live until the end of its element.
  void Begin(const char* name, std::initializer_list<Attribute> attributes = {});
  void Text(const std::string& text);
  // References in it ("&amp;", "&eacute;") become their characters.
  void ResolvedText(const std::string& text);
  void End();

  // A whole element, empty or with a text.
  void Element(const char* name, std::initializer_list<Attribute> attributes,
               const std::string& text = {});

  // Ends the document; false when the file could not be opened or has not taken all of it.
  bool Close();

 private:
  void EndStartTag();
  void WriteCharacters(const std::string& characters);
  void WriteEscaped(const std::string& characters, const char* special);

  OutputFile file;
  std::vector<const char*> open;  // elements
  bool isInStartTag = false;
};

#endif
