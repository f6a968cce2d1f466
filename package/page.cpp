// The page documents: skeleton, paragraphs, pictures and tables.
#include "package/xml_file.h"
#include "xml/error_silence.h"
#include "xml/xml_base.h"

namespace {

constexpr char kXhtmlNamespace[] = "http://www.w3.org/1999/xhtml";
constexpr char kSvgNamespace[] = "http://www.w3.org/2000/svg";
constexpr char kXlinkNamespace[] = "http://www.w3.org/1999/xlink";

}  // namespace

std::uint32_t XMLFile::InitHTML(const char* title) {
  const ErrorSilence silence;
  pageDoc = std::make_unique<XMLBase>();
  if (const std::uint32_t code = pageDoc->Init(); code != EPUB_OK) return code;
  pageDoc->AddElement(nullptr, "html", {{"xmlns", kXhtmlNamespace}});
  pageDoc->AddElement("html", "head");
  pageDoc->AddElement("head", "title");
  pageDoc->AddTextToNode("title", title);
  pageDoc->AddElement("head", "meta", {{"name", "Adept.resource"}});
  pageDoc->AddElement("head", "link",
                      {{"rel", "stylesheet"}, {"type", "text/css"}, {"href", "main.css"}});
  pageDoc->AddElement("html", "body");
  return EPUB_OK;
}

std::uint32_t XMLFile::AddTextLineToHtml(const char* text) {
  if (pageDoc == nullptr) return EPUB_E_NO_PAGE;
  const ErrorSilence silence;
  pageDoc->AddElement("body", "p", {{"class", "text"}});
  pageDoc->AddTextToNode("p", text);
  return EPUB_OK;
}

std::uint32_t XMLFile::SetLastTextLine(const char* text) {
  if (pageDoc == nullptr) return EPUB_E_NO_PAGE;
  const ErrorSilence silence;
  return pageDoc->AddTextToNode("p", text);
}

std::uint32_t XMLFile::AddImageToHtml(const char* src) {
  if (pageDoc == nullptr) return EPUB_E_NO_PAGE;
  const ErrorSilence silence;
  pageDoc->AddElement("body", "div", {{"class", "div1"}});
  pageDoc->AddElement("div", "img", {{"src", src}, {"alt", ""}, {"class", "img1"}});
  return EPUB_OK;
}

std::uint32_t XMLFile::AddImageToXhtml(const char* href) {
  if (pageDoc == nullptr) return EPUB_E_NO_PAGE;
  const ErrorSilence silence;
  pageDoc->AddElement("body", "div");
  // The blanks around "none" are what readers expect to see here.
  pageDoc->AddElement("div", "svg",
                      {{"xmlns", kSvgNamespace},
                       {"xmlns:xlink", kXlinkNamespace},
                       {"version", "1.1"},
                       {"width", "100%"},
                       {"height", "100%"},
                       {"preserveAspectRatio", " none "}});
  pageDoc->AddElement("svg", "image",
                      {{"width", "100%"}, {"height", "100%"}, {"xlink:href", href}});
  return EPUB_OK;
}

std::uint32_t XMLFile::AddFormToHtml(const char* text, FormOperator op) {
  if (pageDoc == nullptr) return EPUB_E_NO_PAGE;
  const ErrorSilence silence;
  switch (op) {
    case FormTable:
      pageDoc->AddElement("body", "table",
                          {{"border", "1"}, {"cellpadding", "0"}, {"cellspacing", "0"}});
      break;
    case FormRow:
      pageDoc->AddElement("table", "tr");
      break;
    case FormCell:
      if (pageDoc->AddElement("tr", "td") == EPUB_OK) pageDoc->AddTextToNode("td", text);
      break;
    default:
      break;
  }
  return EPUB_OK;
}

std::uint32_t XMLFile::SaveHtml(const char* path) {
  const bool saved = pageDoc != nullptr && pageDoc->SaveFile(path) == EPUB_OK;
  return static_cast<std::uint32_t>(saved ? EPUB_OK : EPUB_E_FAILED);
}
