// Makes blocks of lines: paragraphs, verse, tables, listings.
#ifndef KAVEPUB_TEXT_PARAGRAPHS_H
#define KAVEPUB_TEXT_PARAGRAPHS_H

#include <string>
#include <string_view>
#include <vector>

#include "edition/book/metadata.h"
#include "edition/text/body_writer.h"
#include "edition/text/layout.h"
#include "edition/text/word_set.h"

class Paragraphs {
 public:
  Paragraphs(const Layout& textLayout, const WordSet& textWords, BodyWriter& target)
      : layout(textLayout), words(textWords), writer(target) {}

  Status AddLine(std::string_view line, bool isContinued);
  Status AddBlank();
  // Ends the paragraph that is open.
  Status Flush();
  // What follows, up to the first prose, is a title page; of a text without chapters it is only
  // what names the book and its author.
  void BeginTitlePage(const Metadata& named, bool hasChapters) {
    facts = &named;
    isTitlePage = true;
    isAnyOnTitlePage = hasChapters;
  }
  // The next paragraph stands behind a heading.
  void BeginSection() {
    isTitlePage = false;
    isFirst = true;
    blanks = 0;
  }

 private:
  struct Line {
    std::string_view text;  // without the blanks around it
    size_t indent;
    size_t width;
  };

  Status AddAozoraLine(std::string_view line);
  Status AddParagraphLine(std::string_view line);
  bool GoesOn(std::string_view next) const;
  Status FlushWrapped();
  enum class Shape : std::uint8_t { kProse, kTable, kCentered, kRight, kItems, kVerse };
  Shape ShapeOf(const std::vector<Line>& lines) const;
  Status WriteLines(const std::vector<Line>& lines);
  Status WriteBreak(std::string_view signs);
  Status WriteEach(const std::vector<Line>& lines);
  Status WriteAsSet(const std::vector<Line>& lines, std::string_view type);
  Status WriteParagraphs(const std::vector<Line>& lines);
  Status WriteItems(const std::vector<Line>& lines);
  Status WriteVerse(const std::vector<Line>& lines);
  Status WritePre(std::string_view type, std::string_view text);
  Status WriteProse(const Line* begin, const Line* end, bool isQuotation);
  Status WriteParagraph(std::string_view type);
  void JoinLine(std::string_view next);
  std::vector<Line> LinesOfBlock() const;
  bool BreaksByHand(const std::vector<Line>& lines) const;
  bool IsCentered(const Line& line) const;
  std::string_view TypeOnTitlePage();

  const Layout& layout;
  const WordSet& words;
  BodyWriter& writer;
  std::string block;  // lines of a wrapped or verbatim text, each with its line feed
  size_t blockLines = 0;
  std::string paragraph;  // the one that is being put together
  size_t blanks = 0;
  size_t indentation = 0;  // by a note
  bool isOpen = false;     // the paragraph may go on in the next line
  bool isFirst = true;
  bool isBehindPause = false;
  const Metadata* facts = nullptr;
  bool isTitlePage = false;
  bool isAnyOnTitlePage = false;
};

#endif
