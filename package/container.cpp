// The container file, which tells a reading system where the package document lies.
#include "base/error_silence.h"
#include "package/xml_file.h"
#include "xml/xml_base.h"

std::uint32_t XMLFile::GenerateContainerFile(const char* path) {
  const ErrorSilence silence;
  XMLBase container;
  if (const std::uint32_t code = container.Init(); code != EPUB_OK) return code;
  container.AddElement(
      nullptr, "container",
      {{"version", "1.0"}, {"xmlns", "urn:oasis:names:tc:opendocument:xmlns:container"}});
  container.AddElement("container", "rootfiles");
  container.AddElement(
      "rootfiles", "rootfile",
      {{"full-path", "OEBPS/content.opf"}, {"media-type", "application/oebps-package+xml"}});
  return container.SaveFile(path);
}
