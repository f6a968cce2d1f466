// Collects the facts about a book.
#include "hosts/kavepub/inspect/book_info.h"

#include <algorithm>
#include <utility>

#include "hosts/kavepub/console/failure.h"
#include "hosts/kavepub/inspect/epub_package.h"
#include "hosts/kavepub/inspect/mobi_info.h"
#include "hosts/kavepub/plan/book_order.h"
#include "hosts/kavepub/plan/input_kind.h"

namespace {

void ReadText(const std::filesystem::path& text, BookInfo& info) {
  EditionJob job({});
  job.Add(text);
  BookReport report = job.Examine([](double) {});
  info.format = "text";
  info.title = report.Fact("title");
  info.author = report.Fact("authors");
  std::replace(info.author.begin(), info.author.end(), '\n', ',');
  info.language = report.Fact("language");
  info.encoding = report.Fact("encoding");
  info.contents = std::move(report.chapters);
}

void ReadEpub(const std::filesystem::path& book, BookInfo& info) {
  EpubPackage package = ReadEpubPackage(book);
  info.format = "EPUB";
  info.title = package.title;
  info.author = package.author;
  info.language = package.language;
  info.pages = package.pages;
  info.pictures = package.pictures;
  info.contents = std::move(package.contents);
}

// A text by its content; what is called like a book is one, or a damaged one.
bool IsText(const std::filesystem::path& file) {
  return ExtensionOf(file) != kBookExtension && !IsZip(file) && KindOf(file) == BookKind::kText;
}

}  // namespace

BookInfo ReadBookInfo(const std::filesystem::path& book) {
  RequireReadable(book);
  BookInfo info;
  info.bytes = std::filesystem::file_size(book);
  if (IsMobi(book)) {
    ReadMobiInfo(book, info);
  } else if (IsText(book)) {
    ReadText(book, info);
  } else {
    ReadEpub(book, info);
  }
  return info;
}

std::string ContentsForPeople(const std::vector<BookReport::Chapter>& contents) {
  constexpr size_t kIndentation = 2;
  std::string text;
  for (const BookReport::Chapter& entry : contents) {
    const std::string place = entry.line > 0 ? " (line " + std::to_string(entry.line) + ")" : "";
    text += "\n    " + std::string((entry.level - 1) * kIndentation, ' ') + OneLine(entry.title) +
            place;
  }
  return text;
}
