// Writes the body of a page so that XHTML 1.1 allows it, whatever stood in what.
#ifndef KAVEPUB_PAGE_MARKUP_WRITER_H
#define KAVEPUB_PAGE_MARKUP_WRITER_H

#include <string>
#include <string_view>
#include <vector>

#include "edition/page/content_model.h"

// Marks in a body, which becomes markup when they are replaced: one of these, a number, kMarkEnd.
// No text has these characters.
inline constexpr char kReferenceMark = '\x01';  // what a link or picture becomes
inline constexpr char kMarkEnd = '\x02';
inline constexpr char kBreakMark = '\x03';  // a page may end here
inline constexpr char kPartMark = '\x04';   // a part begins that may be left out
inline constexpr char kPartEndMark = '\x05';

// How a page can be ended at a mark, and the next one begun.
struct PageBreak {
  size_t depth;        // of elements that are ended
  std::string ending;  // "</div>"
  std::string beginning;
};

struct PageMarkup {
  std::string body;
  std::vector<PageBreak> breaks;
};

// Blocks stand in blocks; of the elements in the source that are inline, those that are open
// surround each run of text instead, so that none holds a block. Nothing is written before there is
// something in it.
class MarkupWriter {
 public:
  MarkupWriter();

  // An element, its attributes but for the id as they are written; no other one has the id. Inline
  // ones and blocks end in the order in which they were begun.
  void Begin(const char* name, Place place, Model model, std::string attributes, std::string id);
  void End();

  // In UTF-8, of characters that XML allows.
  void Text(std::string_view text);

  // An inline element without content, or a mark that stands for one.
  void Inline(std::string_view markup);

  // A part of the page that may be left out; of none that begins in a line of text.
  bool BeginPart(size_t number);
  void EndPart(size_t number);

  PageMarkup Finish();

 private:
  struct Element {
    const char* name;
    Place place;
    Model model;
    std::string attributes;
    std::string id;
    size_t host;  // the block in which it stands
    bool isTransparent = false;
    bool isWritten = false;  // once, so that its id is
    bool isOpen = false;
    int tableStage = 0;
  };
  struct Open {  // tags that wait for their ends
    const char* name;
    Model model;
    size_t block;  // kNone for one that was put between
    bool hasBody;  // of a table
  };
  static constexpr size_t kNone = SIZE_MAX;

  void BeginInline(const char* name, std::string attributes, std::string id);
  void EndInline();
  void EndBlock();
  size_t Host(Place place, Fit& fit) const;
  size_t Opaque(size_t block) const;
  void FitIntoTable(Element& element, Fit& fit);

  void OpenBlock(size_t block);
  void GoTo(size_t block, Place place);
  void OpenInlines();
  void CloseInlines();
  void CloseTag();
  void PrepareText();
  void PutId(Element& element);
  void PutAttributes(Element& element);
  void BeginRun();
  bool MayBreakRun() const;
  bool MayBreak() const;
  void NoteBreak();
  void WriteInPreformatted(std::string_view text);
  bool IsPreformatted() const;

  PageMarkup page;
  std::vector<Element> blocks;
  std::vector<Element> inlines;
  std::vector<bool> order;  // of all elements that are open in the source, whether they are inline
  std::vector<Open> open;
  std::vector<size_t> openInlines;
  std::vector<std::string> pendingIds;
  std::vector<size_t> path;  // kept, as it is needed often
  size_t preformatted = 0;
  size_t beginOfRun = 0;  // of text in one block
  size_t lastBreak = 0;
  size_t repeated = 0;       // bytes of attributes
  bool isInRun = false;      // text or an inline element was written last
  bool isAtLineEnd = false;  // of a line that ends in the source
};

#endif
