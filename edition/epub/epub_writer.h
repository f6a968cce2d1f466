// Writes a book as EPUB 2 while its source brings it.
#ifndef KAVEPUB_EPUB_EPUB_WRITER_H
#define KAVEPUB_EPUB_EPUB_WRITER_H

#include <functional>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "base/zip_stream.h"
#include "edition/book/kept_text.h"
#include "edition/book/output.h"
#include "edition/book/sink.h"
#include "edition/epub/package_document.h"
#include "edition/epub/packer.h"
#include "edition/epub/page.h"
#include "edition/epub/page_links.h"

struct EpubOptions {
  unsigned threads = 1;           // that pack, the caller's included
  std::string styleSheet;         // comes after the book's own
  bool wantsCover = true;         // else even the source's is left out
  std::optional<Resource> cover;  // in the place of the source's
  // The file of a picture, for a book that has none; nothing where none can be drawn.
  std::function<std::optional<Resource>(const Metadata&)> drawCover;
};

class EpubWriter : public BookSink {
 public:
  EpubWriter(EpubOptions options, Output& output);

  Status Begin(const Metadata& metadata) override;
  std::string ReferenceTo(size_t document) const override;
  Status Add(Document document) override;
  Status Continue(BlockRun piece) override;
  Result<std::string> Add(Resource resource) override;
  Status AddCover(Resource picture) override;
  Status Finish(std::vector<ContentsEntry> contents) override;

  // Once the book is finished.
  const std::string& BookIdentifier() const { return identifier; }
  size_t Pages() const { return pages; }
  std::uint64_t Size() const { return zip.Size(); }

 private:
  // A page whose links lead to documents that are still to come.
  struct WaitingPage {
    size_t document;
    size_t page;
    std::string title;
    std::string language;
    std::optional<Document::Look> look;
    KeptText body;
  };

  Status AddPages(bool isEnd);
  Status AddPage(std::string body, bool isLast);
  Status AddWaitingPages();
  Status EndDocument();
  void TakeAsCover();
  Status AddContents(const std::vector<ContentsEntry>& contents);
  Status AddPackage(const std::vector<ContentsEntry>& contents);
  Result<std::string> AddFile(Resource resource);
  std::string FreeName(const std::string& wanted);
  Status Pack(std::string name, std::string content, Packing packing);
  Status PackPage(const std::string& name, const Page& page);
  Status AddFurtherSheet();
  Status Taken(bool isTaken) const;

  EpubOptions options;
  Failure failure{};  // of the output
  ZipStream zip;
  Packer packer;

  Metadata metadata;
  PackageParts parts;
  PageLinks links;
  std::unordered_map<std::string, size_t> names;  // of files, in lower case: how often wanted
  std::string identifier;
  size_t pages = 0;

  bool isInDocument = false;
  bool hasFurtherSheet = false;
  Document current;  // with what of it is in no page yet
  std::vector<WaitingPage> waiting;
  size_t waitingBytes = 0;
};

#endif
