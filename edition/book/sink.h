// Takes a book from its source, part by part, in reading order.
#ifndef KAVEPUB_BOOK_SINK_H
#define KAVEPUB_BOOK_SINK_H

#include <string>
#include <vector>

#include "edition/book/document.h"
#include "edition/book/metadata.h"
#include "edition/book/result.h"

// Begin once, then documents and resources, then Finish. All on one thread.
class BookSink {
 public:
  virtual ~BookSink() = default;

  // What documents need to know of the book has to be known by now.
  virtual Status Begin(const Metadata& metadata) = 0;

  // How documents refer to one, by its number, which need not have come yet. "#" and an id may be
  // added; wherever the document is split, the link follows.
  virtual std::string ReferenceTo(size_t document) const = 0;

  // Documents are numbered from 0 as they come. One of any length may come in pieces of whole
  // blocks: each further one continues the last document.
  virtual Status Add(Document document) = 0;
  virtual Status Continue(BlockRun piece) = 0;

  // How documents refer to the resource.
  virtual Result<std::string> Add(Resource resource) = 0;

  // The picture that stands for the book; at most once.
  virtual Status AddCover(Resource picture) = 0;

  virtual Status Finish(std::vector<ContentsEntry> contents) = 0;
};

#endif
