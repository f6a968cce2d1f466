// The page documents: skeleton, paragraphs, pictures and tables.
#include "package/book_records.h"
#include "package/xml_file.h"

namespace {

constexpr char kXhtmlNamespace[] = "http://www.w3.org/1999/xhtml";
constexpr char kSvgNamespace[] = "http://www.w3.org/2000/svg";
constexpr char kXlinkNamespace[] = "http://www.w3.org/1999/xlink";

using Block = PageRecords::Block;

void WriteHead(DocumentWriter& page, const std::string& title) {
  page.Begin("head");
  page.Begin("title");
  page.ResolvedText(title);
  page.End();
  page.Element("meta", {{"name", "Adept.resource"}});
  page.Element("link", {{"rel", "stylesheet"}, {"type", "text/css"}, {"href", "main.css"}});
  page.End();
}

void WriteParagraph(DocumentWriter& page, const Block& paragraph) {
  page.Begin("p", {{"class", "text"}});
  page.ResolvedText(paragraph.text);
  page.End();
}

void WritePicture(DocumentWriter& page, const Block& picture) {
  page.Begin("div", {{"class", "div1"}});
  page.Element("img", {{"src", picture.text.c_str()}, {"alt", ""}, {"class", "img1"}});
  page.End();
}

void WriteSheet(DocumentWriter& page, const Block& sheet) {
  page.Begin("div");
  // The blanks around "none" are what readers expect to see here.
  page.Begin("svg", {{"xmlns", kSvgNamespace},
                     {"xmlns:xlink", kXlinkNamespace},
                     {"version", "1.1"},
                     {"width", "100%"},
                     {"height", "100%"},
                     {"preserveAspectRatio", " none "}});
  page.Element("image",
               {{"width", "100%"}, {"height", "100%"}, {"xlink:href", sheet.text.c_str()}});
  page.End();
  page.End();
}

void WriteTable(DocumentWriter& page, const Block& table) {
  page.Begin("table", {{"border", "1"}, {"cellpadding", "0"}, {"cellspacing", "0"}});
  for (const auto& row : table.rows) {
    page.Begin("tr");
    for (const std::string& cell : row) {
      page.Begin("td");
      page.ResolvedText(cell);
      page.End();
    }
    page.End();
  }
  page.End();
}

using BlockWriter = void (*)(DocumentWriter& page, const Block& block);

BlockWriter WriterOf(Block::Kind kind) {
  switch (kind) {
    case Block::Kind::kParagraph:
      return WriteParagraph;
    case Block::Kind::kPicture:
      return WritePicture;
    case Block::Kind::kSheet:
      return WriteSheet;
    default:
      return WriteTable;
  }
}

void WritePage(DocumentWriter& html, const PageRecords& page) {
  html.Begin("html", {{"xmlns", kXhtmlNamespace}});
  WriteHead(html, page.title);
  html.Begin("body");
  for (const Block& block : page.blocks) WriterOf(block.kind)(html, block);
  html.End();
  html.End();
}

std::uint32_t Append(PageRecords* page, Block::Kind kind, const char* text) {
  if (page == nullptr) return EPUB_E_NO_PAGE;
  KeepIn(*page, [&] {
    page->blocks.push_back({kind, TextOf(text), {}});
    if (kind == Block::Kind::kParagraph) page->lastParagraph = &page->blocks.back();
    if (kind == Block::Kind::kTable) page->lastTable = &page->blocks.back();
  });
  return EPUB_OK;
}

void AppendRow(PageRecords& page) {
  if (page.lastTable == nullptr) return;
  page.lastRow = &page.lastTable->rows.emplace_back();
}

void AppendCell(PageRecords& page, const char* text) {
  if (page.lastRow != nullptr) page.lastRow->emplace_back(TextOf(text));
}

}  // namespace

std::uint32_t XMLFile::InitHTML(const char* title) {
  page = std::make_unique<PageRecords>();
  page->title = TextOf(title);
  return EPUB_OK;
}

std::uint32_t XMLFile::AddTextLineToHtml(const char* text) {
  return Append(page.get(), Block::Kind::kParagraph, text);
}

std::uint32_t XMLFile::SetLastTextLine(const char* text) {
  if (page == nullptr) return EPUB_E_NO_PAGE;
  if (page->lastParagraph == nullptr) return EPUB_E_NOT_FOUND;
  KeepIn(*page, [&] { page->lastParagraph->text = TextOf(text); });
  return EPUB_OK;
}

std::uint32_t XMLFile::AddImageToHtml(const char* src) {
  return Append(page.get(), Block::Kind::kPicture, src);
}

std::uint32_t XMLFile::AddImageToXhtml(const char* href) {
  return Append(page.get(), Block::Kind::kSheet, href);
}

std::uint32_t XMLFile::AddFormToHtml(const char* text, FormOperator op) {
  if (page == nullptr) return EPUB_E_NO_PAGE;
  if (op == FormTable) return Append(page.get(), Block::Kind::kTable, nullptr);
  KeepIn(*page, [&] {
    if (op == FormRow) AppendRow(*page);
    if (op == FormCell) AppendCell(*page, text);
  });
  return EPUB_OK;
}

std::uint32_t XMLFile::SaveHtml(const char* path) {
  const auto code = Save(page.get(), path, DocumentWriter::Type::kXhtml11, WritePage);
  return code == EPUB_OK ? code : static_cast<std::uint32_t>(EPUB_E_FAILED);
}
