// The second reading of a text: its lines become documents.
#ifndef KAVEPUB_TEXT_BOOK_BUILDER_H
#define KAVEPUB_TEXT_BOOK_BUILDER_H

#include <string>
#include <string_view>
#include <vector>

#include "edition/text/body_writer.h"
#include "edition/text/book_plan.h"
#include "edition/text/layout.h"
#include "edition/text/paragraphs.h"
#include "edition/text/word_set.h"

class BookBuilder {
 public:
  // All of these outlive the builder.
  BookBuilder(const SurveyResult& surveyed, const Structure& chosen, const Layout& textLayout,
              const WordSet& words, const Metadata& named, BookSink& target);

  // Every line of the text, or a further piece of the last one.
  Status Take(std::string_view line, std::uint64_t number, bool isContinued);

  // Ends the last document, and the book.
  Status Finish();

 private:
  Status BeginDocument(const PlannedDocument& planned);
  Status BeginHeading(std::string_view line);
  Status EndHeading();
  bool TakeTitle(std::string_view line, bool isBlank);
  Status TakeListLine(std::string_view text, std::uint32_t number);
  void AddToContents(const std::string& title, const std::string& outerTitle);
  void Enter(size_t level, ContentsEntry entry);

  const SurveyResult& survey;
  const Structure& structure;
  const Layout& layout;
  const Metadata& facts;
  BookSink& sink;
  BookPlan plan;
  BodyWriter writer;
  Paragraphs paragraphs;
  std::string licence;  // what stands before the book, for its end

  size_t nextDocument = 0;
  size_t nextHeading = 0;
  size_t nextLink = 0;

  // The heading that is open, with the lines of its title so far.
  bool isOpen = false;
  bool isRuleNext = false;  // below the heading, which needs none in a book
  std::vector<std::string> openLines;
  std::string openOuter;
  size_t openBlanks = 0;

  std::vector<ContentsEntry> contents;
  std::uint32_t lastOuterKind = 0;
  std::int32_t lastOuterNumber = 0;
};

#endif
