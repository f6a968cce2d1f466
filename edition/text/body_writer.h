// Hands documents over piece by piece, so that one of any length fits into memory.
#ifndef KAVEPUB_TEXT_BODY_WRITER_H
#define KAVEPUB_TEXT_BODY_WRITER_H

#include <string>

#include "edition/book/sink.h"

class BodyWriter {
 public:
  explicit BodyWriter(BookSink& target) : sink(target) {}

  // Begins a document. One without a block gets an empty paragraph.
  void Begin(Document document);

  // Where the next block is written to; EndBlock says that it is whole.
  std::string& Markup() { return current.body; }
  Status EndBlock();

  // Hands over what there is; no document is open then.
  Status End();

 private:
  BookSink& sink;
  Document current;
  bool isOpen = false;
  bool isBegun = false;  // its first piece was handed over
};

#endif
