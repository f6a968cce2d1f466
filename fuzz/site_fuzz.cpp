// Import of a small site: pages, pictures and symbolic links that lead to each other, and out.
#include "builder/epub_base.h"
#include "fuzz/book_check.h"
#include "fuzz/harness.h"

void Fuzz(const std::string& input, Sandbox& box) {
  const std::vector<std::string> files = box.Plant("site", input);
  if (files.empty()) return;
  EpubBase book;
  Require(book.Init((box / "work").c_str(), "Title", "Author") == EPUB_OK, "a book begins");
  for (const std::string& page : {files.front(), files.back()}) {
    const int code = book.AddHTHLToEpub((box / page).c_str());
    Require(code == EPUB_OK || code == EPUB_E_OPEN || code == EPUB_E_NOT_FOUND, "a page comes in");
  }
  Require(book.GenerateEpub((box / "out/book.epub").c_str()) == EPUB_OK, "a book is written");
  CheckBook(box / "out/book.epub", box.Secret());
  Require(book.ClearData() == EPUB_OK, "a book is cleared up");
  box.RequireEmpty("work");
}
