// Makes a book of one page with a table, through the book builder: tables are not in the C record.
#include <builder/epub_base.h>

#include <cstdio>
#include <utility>

namespace {

int FillPage(EpubBase& book) {
  if (const int code = book.StartPage(); code != EPUB_OK) return code;
  book.AddTextLineToPage("Two poles and their elevations:\n");
  book.AddFormToPage("", FormTable);
  for (const auto& [pole, elevation] : {std::pair("North", "0 m"), std::pair("South", "2835 m")}) {
    book.AddFormToPage("", FormRow);
    book.AddFormToPage(pole, FormCell);
    book.AddFormToPage(elevation, FormCell);
  }
  return book.EndPage();
}

}  // namespace

int main() {
  EpubBase book;
  int code = book.Init(".", "Poles", "A Surveyor");
  if (code == EPUB_OK) code = FillPage(book);
  if (code == EPUB_OK) code = book.GenerateEpub("table.epub");
  book.ClearData();
  if (code != EPUB_OK) std::fprintf(stderr, "The book failed with code %d.\n", code);
  return code == EPUB_OK ? 0 : 1;
}
