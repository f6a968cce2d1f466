// Copies tags and texts, and puts between them what is to be there.
#include "edition/mobi/piece_html.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "base/mobi/encoding.h"
#include "edition/book/markup.h"
#include "edition/book/metadata.h"
#include "edition/mobi/start_tag.h"
#include "edition/page/page_tree.h"
#include "edition/text/characters.h"

namespace {

constexpr size_t kLongestHeading = 2048;
constexpr size_t kLowestHeading = 6;
constexpr std::string_view kSides[] = {"center", "justify", "left", "right"};

class PieceWriter {
 public:
  PieceWriter(const BookText& source, const Piece& written,
              const std::vector<const BookPlace*>& toMark, const Additions& toPut)
      : text(source),
        piece(written),
        places(toMark),
        headwords(toPut.headwords),
        headings(toPut.headings),
        decoder(source.Book().CodePage()),
        headword(FirstOf(headwords)),
        heading(FirstOf(headings)) {}

  std::string Write() {
    const BookText::Part& part = text.Parts()[piece.part];
    const size_t start = piece.begin - part.begin;
    const std::string_view bytes = part.text.substr(start, piece.end - piece.begin);
    html.reserve(bytes.size() + bytes.size() / 4);
    Put(piece.opening);
    if (!piece.heading.empty()) html.append("<h1>").append(piece.heading).append("</h1>");
    kav_mobi::Tag tag;
    size_t textBegin = 0;
    for (kav_mobi::TagScanner scanner(bytes); scanner.Next(tag);) {
      if (tag.begin < textBegin) continue;  // in a heading
      WriteText(bytes.substr(textBegin, tag.begin - textBegin), textBegin);
      textBegin = tag.begin + WriteHeading(bytes.substr(tag.begin), tag);
      if (textBegin > tag.begin) continue;
      WriteTag(bytes.substr(tag.begin), tag);
      textBegin = tag.end;
    }
    WriteText(bytes.substr(textBegin), textBegin);
    MarkUpTo(piece.end);
    return std::move(html);
  }

 private:
  // The number of the first of some things that lies in the piece.
  template <typename Thing>
  size_t FirstOf(const std::vector<Thing>& things) const {
    const auto first = std::partition_point(things.begin(), things.end(), [&](const Thing& thing) {
      return thing.position < piece.begin;
    });
    return static_cast<size_t>(first - things.begin());
  }

  void Put(std::string_view bytes) { decoder.Append(bytes, html); }

  // How much of the text from a tag on is written, as it begins a paragraph that becomes a heading;
  // 0 for none. Small capitals that are made of capitals of two sizes are letters as any.
  size_t WriteHeading(std::string_view bytes, const kav_mobi::Tag& tag) {
    const size_t position = piece.begin + tag.end;
    const bool mayBe = heading < headings.size() && headings[heading].position < position &&
                       tag.kind == kav_mobi::TagKind::kStart && tag.element != nullptr &&
                       tag.element->name == std::string_view("p");
    if (!mayBe) return 0;
    const IndexEntry& entry = headings[heading];
    const kav_mobi::Tag end = EndOfHeading(bytes.substr(0, kLongestHeading));
    if (end.end == 0) return 0;
    WantTitle();
    const std::string words = WordsOf(bytes.substr(0, end.end));
    const bool isTitle = words == wantedWords;
    if (!isTitle && FoldedText(words) != wantedInAnyCase) return 0;
    MarkUpTo(piece.begin + tag.begin + end.end);
    ++heading;
    headingName = "h" + std::to_string(std::min(entry.level + 1, kLowestHeading));
    kav_mobi::Attributes attributes;
    attributes.Read(tag.attributes);
    const std::string_view side = attributes.Get("align");
    html.append("<").append(headingName).append(" style=\"text-align: ");
    html.append(std::find(std::begin(kSides), std::end(kSides), side) == std::end(kSides)
                    ? "inherit"
                    : side);
    html.append("\">");
    headingEnd = tag.begin + end.begin;
    inHeading = true;
    if (isTitle) return tag.end - tag.begin;
    AppendEscaped(entry.title, html);
    return end.begin;
  }

  // The end of a paragraph that has nothing but text.
  static kav_mobi::Tag EndOfHeading(std::string_view bytes) {
    kav_mobi::Tag tag;
    for (kav_mobi::TagScanner scanner(bytes); scanner.Next(tag);) {
      if (tag.element == nullptr) continue;
      const bool isOther = tag.element->role == kav_mobi::Role::kPicture ||
                           tag.element->name == std::string_view("a");
      if (isOther) break;
      const bool isEnd =
          tag.kind == kav_mobi::TagKind::kEnd && tag.element->role == kav_mobi::Role::kParagraph;
      if (isEnd) return tag;
    }
    return {};
  }

  // Of blanks there may be others.
  static std::string WithoutBlanks(std::string words) {
    std::erase(words, ' ');
    return words;
  }

  std::string WordsOf(std::string_view paragraph) const {
    std::string markup;
    kav_mobi::TextDecoder(text.Book().CodePage()).Append(paragraph, markup);
    return WithoutBlanks(OneLine(TextOf(PageTree(std::move(markup)).Root())));
  }

  // Titles may be long, and paragraphs many.
  void WantTitle() {
    if (wantedHeading == heading) return;
    wantedHeading = heading;
    wantedWords = WithoutBlanks(headings[heading].title);
    wantedInAnyCase = FoldedText(wantedWords);
  }

  // What leads into a run of text leads to its beginning.
  void WriteText(std::string_view run, size_t at) {
    if (foreign == 0 && run.find_first_not_of(kav_mobi::kBlanks) != std::string_view::npos) {
      MarkUpTo(piece.begin + at + run.size());
      PutHeadwordsUpTo(piece.begin + at + run.size());
      const size_t end = piece.begin + at + run.size();
      while (heading < headings.size() && headings[heading].position < end) ++heading;
    }
    Put(run);
  }

  // The bytes begin with the tag.
  void WriteTag(std::string_view bytes, const kav_mobi::Tag& tag) {
    if (tag.begin == headingEnd) {
      html.append("</").append(headingName).append(">");
      inHeading = false;
      return;
    }
    const size_t end = piece.begin + tag.end;
    if (tag.element != nullptr && tag.element->role == kav_mobi::Role::kPageBreak) return;
    // The head of an old book holds its guide, which no page has.
    if (tag.kind == kav_mobi::TagKind::kSkipped && !text.IsNew()) return;
    NoteForeign(tag);
    const bool isStart = tag.kind == kav_mobi::TagKind::kStart && tag.element != nullptr;
    if (!isStart && IsEndOfBreak(tag)) return;
    NoteHeading(tag);
    if (inHeading && isStart && !text.IsNew() && HasFontSize(tag)) return;
    if (!isStart || foreign > 0) return Put(bytes.substr(0, tag.end - tag.begin));
    std::string_view id;
    while (place < places.size() && places[place]->position < end) {
      const BookPlace& here = *places[place++];
      if (here.isOwn) continue;
      if (!id.empty()) Mark(id);
      id = here.id;
    }
    const bool holdsText = tag.element->role <= kav_mobi::Role::kItem;
    if (!holdsText && !id.empty()) Mark(std::exchange(id, {}));
    std::string written;
    AppendStartTag(bytes, tag, text.IsNew(), id, written);
    Put(written);
  }

  // The end of a break would be another break in HTML.
  static bool IsEndOfBreak(const kav_mobi::Tag& tag) {
    return tag.kind == kav_mobi::TagKind::kEnd && tag.element != nullptr &&
           tag.element->role == kav_mobi::Role::kBreak;
  }

  void NoteHeading(const kav_mobi::Tag& tag) {
    if (tag.element == nullptr || tag.element->role != kav_mobi::Role::kParagraph) return;
    const std::string_view name = tag.element->name;
    const bool isHeading = name.size() == 2 && name[0] == 'h';
    inHeading = isHeading && tag.kind == kav_mobi::TagKind::kStart;
  }

  // Headings have sizes of their own.
  static bool HasFontSize(const kav_mobi::Tag& tag) {
    if (tag.element->name != std::string_view("font")) return false;
    kav_mobi::Attributes attributes;
    attributes.Read(tag.attributes);
    return !attributes.Get("size").empty();
  }

  // Marks in drawings and formulas would end them.
  void NoteForeign(const kav_mobi::Tag& tag) {
    if (tag.selfClosing || (tag.name != "svg" && tag.name != "math")) return;
    if (tag.kind == kav_mobi::TagKind::kStart) ++foreign;
    if (tag.kind == kav_mobi::TagKind::kEnd && foreign > 0) --foreign;
  }

  void MarkUpTo(size_t end) {
    for (; place < places.size() && places[place]->position < end; ++place) {
      if (!places[place]->isOwn) Mark(places[place]->id);
    }
  }

  void Mark(std::string_view id) { html.append("<span id=\"").append(id).append("\"></span>"); }

  void PutHeadwordsUpTo(size_t end) {
    for (; headword < headwords.size() && headwords[headword].position < end; ++headword) {
      html.append("<b>").append(headwords[headword].markup).append("</b> ");
    }
  }

  const BookText& text;
  const Piece& piece;
  const std::vector<const BookPlace*>& places;
  const std::vector<kav_mobi::Headword>& headwords;
  const std::vector<IndexEntry>& headings;
  kav_mobi::TextDecoder decoder;
  std::string html;
  size_t place = 0;
  size_t headword;
  size_t heading;
  size_t headingEnd = std::string_view::npos;  // of the paragraph that is one
  std::string headingName;
  size_t wantedHeading = std::string_view::npos;  // whose title these are
  std::string wantedWords;
  std::string wantedInAnyCase;
  bool inHeading = false;
  size_t foreign = 0;  // drawings and formulas that are open
};

}  // namespace

std::string HtmlOf(const BookText& text, const Piece& piece,
                   const std::vector<const BookPlace*>& places, const Additions& additions) {
  return PieceWriter(text, piece, places, additions).Write();
}
