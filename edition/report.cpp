// Notes what a source gives to a writer.
#include "edition/report.h"

#include <utility>

ReportingSink::ReportingSink(Report& target, BookSink* behind, Metadata wantedOfHost,
                             std::string titleOfLast)
    : report(target),
      writer(behind),
      wanted(std::move(wantedOfHost)),
      lastTitle(std::move(titleOfLast)) {}

Status ReportingSink::Begin(const Metadata& found) {
  Metadata metadata = Merged(found, wanted);
  if (OneLine(metadata.title).empty()) metadata.title = lastTitle;
  metadata = Cleaned(std::move(metadata));
  report.facts["title"] = metadata.title;
  report.facts["language"] = metadata.language;
  std::string authors;
  for (const Contributor& contributor : metadata.contributors) {
    if (contributor.role != kAuthorRole) continue;
    authors += (authors.empty() ? "" : "\n") + contributor.name;
  }
  if (!authors.empty()) report.facts["authors"] = authors;
  return writer == nullptr ? Done() : writer->Begin(metadata);
}

std::string ReportingSink::ReferenceTo(size_t document) const {
  return writer == nullptr ? std::string() : writer->ReferenceTo(document);
}

Status ReportingSink::Add(Document document) {
  ++documents;
  return writer == nullptr ? Done() : writer->Add(std::move(document));
}

Status ReportingSink::Continue(BlockRun piece) {
  return writer == nullptr ? Done() : writer->Continue(std::move(piece));
}

Result<std::string> ReportingSink::Add(Resource resource) {
  if (resource.mediaType.starts_with("image/")) ++pictures;
  return writer == nullptr ? std::string() : writer->Add(std::move(resource));
}

Status ReportingSink::AddCover(Resource picture) {
  return writer == nullptr ? Done() : writer->AddCover(std::move(picture));
}

Status ReportingSink::Finish(std::vector<ContentsEntry> contents) {
  Note(contents, 1);
  report.facts["documents"] = std::to_string(documents);
  report.facts["pictures"] = std::to_string(pictures);
  return writer == nullptr ? Done() : writer->Finish(std::move(contents));
}

void ReportingSink::Note(const std::vector<ContentsEntry>& entries, std::uint32_t level) {
  for (const ContentsEntry& entry : entries) {
    report.chapters.push_back({OneLine(entry.title), level, entry.line});
    Note(entry.children, level + 1);
  }
}
