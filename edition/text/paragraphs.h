// Makes blocks of lines: paragraphs, verse, tables, listings.
#ifndef KAVEPUB_TEXT_PARAGRAPHS_H
#define KAVEPUB_TEXT_PARAGRAPHS_H

#include <string>
#include <string_view>
#include <vector>

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
  // The next paragraph stands behind a heading.
  void BeginSection() {
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
  Status WriteLines(const std::vector<Line>& lines);
  Status WriteVerse(const std::vector<Line>& lines);
  Status WritePre(std::string_view type, std::string_view text);
  Status WriteProse(const Line* begin, const Line* end, bool isQuotation);
  Status WriteParagraph(std::string_view type);
  void JoinLine(std::string_view next);
  std::vector<Line> LinesOfBlock() const;
  bool BreaksByHand(const std::vector<Line>& lines) const;
  bool IsCentered(const Line& line) const;

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
};

#endif
