// Collects the facts about a book.
#include "hosts/kavepub/inspect/book_info.h"

#include "hosts/kavepub/console/failure.h"
#include "hosts/kavepub/inspect/epub_package.h"
#include "hosts/kavepub/inspect/mobi_info.h"
#include "hosts/kavepub/plan/book_order.h"
#include "hosts/kavepub/plan/input_kind.h"

BookInfo ReadBookInfo(const std::filesystem::path& book) {
  RequireReadable(book);
  BookInfo info;
  info.bytes = std::filesystem::file_size(book);
  if (IsMobi(book)) {
    ReadMobiInfo(book, info);
    return info;
  }
  const EpubPackage package = ReadEpubPackage(book);
  info.format = "EPUB";
  info.title = package.title;
  info.author = package.author;
  info.pages = package.pages;
  info.pictures = package.pictures;
  return info;
}
