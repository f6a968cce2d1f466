// What a job has found out about its book, as hosts hear it.
#ifndef KAVEPUB_REPORT_H
#define KAVEPUB_REPORT_H

#include <map>
#include <string>
#include <vector>

#include "edition/book/document.h"
#include "edition/book/metadata.h"
#include "edition/book/run.h"
#include "edition/book/sink.h"

struct Report {
  struct Chapter {
    std::string title;
    std::uint32_t level;
    std::uint64_t line;
  };

  std::map<std::string, std::string, std::less<>> facts;
  std::vector<Chapter> chapters;
  std::vector<Warning> warnings;
};

// Stands between a source and a writer: puts what the host wants in the place of what the source
// has found, and notes what goes by. Without a writer it only notes.
class ReportingSink : public BookSink {
 public:
  // A book that has no title gets that one.
  ReportingSink(Report& target, BookSink* behind, Metadata wantedOfHost, std::string titleOfLast);

  Status Begin(const Metadata& found) override;
  std::string ReferenceTo(size_t document) const override;
  Status Add(Document document) override;
  Status Continue(BlockRun piece) override;
  Result<std::string> Add(Resource resource) override;
  Status AddCover(Resource picture) override;
  Status Finish(std::vector<ContentsEntry> contents) override;

 private:
  void Note(const std::vector<ContentsEntry>& entries, std::uint32_t level);

  Report& report;
  BookSink* writer;
  Metadata wanted;
  std::string lastTitle;
  size_t documents = 0;
  size_t pictures = 0;
};

#endif
