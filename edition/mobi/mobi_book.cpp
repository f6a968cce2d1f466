// The steps: read the indices, cut the text, and write its pieces one after the other.
#include "edition/mobi/mobi_book.h"

#include <algorithm>
#include <utility>

#include "base/mobi/dictionary.h"
#include "base/mobi/encoding.h"
#include "base/mobi/metadata.h"
#include "edition/book/markup.h"
#include "edition/book/ordered_work.h"
#include "edition/mobi/book_text.h"
#include "edition/mobi/facts.h"
#include "edition/mobi/indices.h"
#include "edition/mobi/letters.h"
#include "edition/mobi/mobi_files.h"
#include "edition/mobi/piece_html.h"
#include "edition/mobi/piece_plan.h"
#include "edition/mobi/places.h"
#include "edition/page/attributes.h"
#include "edition/page/page_assembly.h"
#include "edition/page/page_reader.h"
#include "edition/page/reference.h"
#include "edition/text/language.h"

namespace {

constexpr double kShareOfOpening = 0.2;
constexpr unsigned kLowestInContents = 3;  // of headings
constexpr size_t kFewestLinks = 2;         // of a contents page

// An entry of the contents, below the last one of a higher level.
struct FlatEntry {
  size_t level;
  ContentsEntry entry;
};

std::vector<ContentsEntry> Nested(std::vector<FlatEntry> entries) {
  std::vector<ContentsEntry> contents;
  std::vector<size_t> path;
  for (FlatEntry& found : entries) {
    while (!path.empty() && path.back() >= found.level) path.pop_back();
    std::vector<ContentsEntry>* place = &contents;
    for (size_t i = 0; i < path.size(); ++i) place = &place->back().children;
    place->push_back(std::move(found.entry));
    path.push_back(found.level);
  }
  return contents;
}

// Some of the letters in the middle of a book.
std::string SampleOf(const BookText& text) {
  constexpr size_t kEnough = size_t{1} << 17;
  const std::string_view bytes = text.From(text.Size() / 3).substr(0, kEnough);
  std::string sample;
  kav_mobi::TextDecoder decoder(text.Book().CodePage());
  kav_mobi::Tag tag;
  size_t begin = 0;
  for (kav_mobi::TagScanner scanner(bytes); scanner.Next(tag); begin = tag.end) {
    decoder.Append(bytes.substr(begin, tag.begin - begin), sample);
    sample += ' ';
  }
  return sample;
}

class Maker {
 public:
  Maker(const kav_mobi::Book& source, const SourceOptions& options, BookSink& target, Run& shared)
      : book(source),
        text(source),
        sink(target),
        run(shared),
        files(text, target, shared),
        threads(options.threads) {}

  Status Make() {
    if (Status status = run.Advance(kShareOfOpening); !status) return status;
    Plan();
    Metadata facts = FactsOf(book);
    if (facts.language.empty()) facts.language = LanguageOfText(SampleOf(text));
    if (Status status = sink.Begin(facts); !status) return status;
    if (Status status = AddCover(); !status) return status;
    if (plan.hasMedia) run.Warn({"The book has sound or film, which is left out", {}});
    if (Status status = AddPieces(); !status) return status;
    return sink.Finish(Contents());
  }

 private:
  // Pages are read ahead of the one that is added, but not all at once.
  Status AddPieces() {
    std::vector<HtmlPage> pages(plan.pieces.size());
    OrderedWork work(threads);
    size_t begun = 0;
    for (size_t i = 0; i < pages.size(); ++i) {
      for (; begun < std::min(pages.size(), i + 2 * size_t{threads}); ++begun) {
        work.Add([this, number = begun, &pages] {
          pages[number] =
              ReadPage(HtmlOf(text, plan.pieces[number], places->In(number), additions));
          return Done();
        });
      }
      if (Status status = work.TakeOldest(); !status) return status;
      if (Status status = AddPiece(i, std::exchange(pages[i], {})); !status) return status;
      const double share = static_cast<double>(i + 1) / static_cast<double>(plan.pieces.size());
      const double done = kShareOfOpening + (1 - kShareOfOpening) * share;
      if (Status status = run.Advance(done); !status) return status;
    }
    return Done();
  }

  void Plan() {
    index = ContentsIndex(text);
    guide = GuideOf(text);
    std::vector<Cut> cuts;
    if (const std::vector<DictionaryEntry> entries = DictionaryIndex(text); !entries.empty()) {
      LetterPlan letters = LettersOf(text, entries);
      additions.headwords = HeadwordsOf(book, text.Parts().front().text);
      cuts = std::move(letters.cuts);
      const size_t first = cuts.front().position;
      std::erase_if(index, [&](const IndexEntry& entry) { return entry.position >= first; });
      index.insert(index.end(), letters.contents.begin(), letters.contents.end());
    }
    isDictionary = !cuts.empty();
    plan = PlanOf(text, cuts);
    FindCover();
    TakeContentsPage();
    if (!text.IsNew() && !isDictionary) {
      additions.headings = index;
      std::stable_sort(additions.headings.begin(), additions.headings.end(),
                       [](const IndexEntry& one, const IndexEntry& other) {
                         return one.position < other.position;
                       });
    }
    std::vector<size_t> positions = plan.targets;
    for (const IndexEntry& entry : index) positions.push_back(entry.position);
    if (guide.contents) positions.push_back(*guide.contents);
    std::sort(positions.begin(), positions.end());
    positions.erase(std::unique(positions.begin(), positions.end()), positions.end());
    places.emplace(text, plan.pieces, positions);
    titles.resize(plan.pieces.size());
    for (const IndexEntry& entry : index) {
      std::string& title = titles[places->At(entry.position).document];
      if (title.empty()) title = entry.title;
    }
    contentsPage = guide.contents && plan.pieces.size() > 1 ? places->At(*guide.contents).document
                                                            : plan.pieces.size();
    start = guide.start ? PieceOf(plan.pieces, *guide.start) : 0;
    if (start > plan.pieces.size() / 2) start = 0;
  }

  // The index of an old book has no levels, which its contents page may have.
  void TakeContentsPage() {
    const bool isFlat = std::all_of(index.begin(), index.end(),
                                    [](const IndexEntry& entry) { return entry.level == 0; });
    if (!guide.contents || !isFlat) return;
    const Piece& piece = plan.pieces[PieceOf(plan.pieces, *guide.contents)];
    std::vector<IndexEntry> links =
        LinksBetween(text, std::max(*guide.contents, piece.begin), piece.end);
    std::vector<size_t> known;
    for (const IndexEntry& link : links) known.push_back(link.position);
    std::sort(known.begin(), known.end());
    const bool hasAll = std::all_of(index.begin(), index.end(), [&](const IndexEntry& entry) {
      return std::binary_search(known.begin(), known.end(), entry.position);
    });
    if (hasAll && links.size() >= kFewestLinks) index = std::move(links);
  }

  // A page of the book that shows nothing but its cover is that of the cover.
  void FindCover() {
    for (const size_t number : kav_mobi::CoverCandidates(book)) {
      cover = files.PictureFile(number);
      if (!cover) continue;
      if (plan.pieces.size() < 2) return;
      const Piece& first = plan.pieces.front();
      const bool isCover =
          !first.hasText && first.pictures == 1 && text.PictureOf(first.picture) == number;
      if (isCover) plan.pieces.erase(plan.pieces.begin());
      return;
    }
  }

  Status AddCover() {
    if (!cover) return Done();
    Resource picture = std::move(*cover);
    cover.reset();
    return sink.AddCover(std::move(picture));
  }

  Status AddPiece(size_t number, HtmlPage page) {
    const Piece& piece = plan.pieces[number];
    if (piece.begin == text.Parts()[piece.part].begin) sheets = std::move(page.sheets);
    AddMissing(places->In(number), page);
    Document document;
    document.title = TitleOf(number, page);
    document.role = RoleOf(number, page);
    document.language = page.facts.language;
    if (text.IsNew()) {
      Result<Document::Look> look = LookOf(page);
      if (!look) return look.Why();
      document.look = std::move(*look);
    }
    NoteHeadings(number, page);
    Result<BlockRun> body = Assemble(
        page.markup, std::vector<bool>(page.parts.size(), false),
        [&](size_t reference) { return Becomes(number, page, page.references[reference]); });
    if (!body) return body.Why();
    static_cast<BlockRun&>(document) = std::move(*body);
    return sink.Add(std::move(document));
  }

  // What leads into something that pages have not leads to their beginning.
  static void AddMissing(const std::vector<const BookPlace*>& marked, HtmlPage& page) {
    std::string missing;
    for (const BookPlace* place : marked) {
      if (!page.ids.emplace(place->id, kNoPart).second) continue;
      missing.append("<span id=\"").append(place->id).append("\"></span>");
    }
    if (!missing.empty()) page.markup.body.insert(0, "<div>" + missing + "</div>");
  }

  std::string TitleOf(size_t number, const HtmlPage& page) const {
    if (!titles[number].empty()) return titles[number];
    return page.headings.empty() ? std::string() : page.headings.front().title;
  }

  Document::Role RoleOf(size_t number, const HtmlPage& page) const {
    if (number == contentsPage && page.links.size() >= kFewestLinks) {
      return Document::Role::kContents;
    }
    return number < start ? Document::Role::kFrontMatter : Document::Role::kText;
  }

  Result<Document::Look> LookOf(const HtmlPage& page) {
    Result<std::vector<std::string>> used = files.Sheets(sheets);
    if (!used) return used.Why();
    Document::Look look{std::move(*used), page.bodyId, page.bodyClass, {}};
    if (page.ids.count(look.id) != 0) look.id.clear();
    Result<std::string> style = Resolved(0, page, page.bodyStyle);
    if (!style) return style.Why();
    look.style = std::move(*style);
    return look;
  }

  // For a book without an index.
  void NoteHeadings(size_t number, const HtmlPage& page) {
    if (!index.empty()) return;
    for (const PageHeading& heading : page.headings) {
      if (heading.level > kLowestInContents || page.ids.count(heading.id) == 0) continue;
      headings.push_back({heading.level, {heading.title, number, heading.id, 0, {}}});
    }
  }

  std::vector<ContentsEntry> Contents() {
    if (index.empty()) return Nested(std::move(headings));
    std::vector<FlatEntry> entries;
    for (const IndexEntry& entry : index) {
      entries.push_back({entry.level, EntryTo(entry)});
    }
    return Nested(std::move(entries));
  }

  ContentsEntry EntryTo(const IndexEntry& entry) const {
    const BookPlace& place = places->At(entry.position);
    // Words that guide through a letter would be a long list before a dictionary.
    return {entry.title, place.document, place.id, 0, {}, !isDictionary || entry.level == 0};
  }

  // Attributes may show files as well.
  Result<std::string> Resolved(size_t number, const HtmlPage& page, const std::string& attributes) {
    Result<BlockRun> whole = Assemble({attributes, {}}, {}, [&](size_t reference) {
      return Becomes(number, page, page.references[reference]);
    });
    if (!whole) return whole.Why();
    return std::move(whole->body);
  }

  Result<std::string> Becomes(size_t number, const HtmlPage& page, const PageReference& reference) {
    switch (reference.kind) {
      case PageReference::Kind::kLink:
        return Link(number, page, reference.targets.front());
      case PageReference::Kind::kStyleFile: {
        Result<std::string> name = files.FileOfStyle(reference.targets.front());
        if (!name) return name;
        return name->empty() ? std::string("none") : "url(" + *name + ")";
      }
      case PageReference::Kind::kPicture:
        return Picture(number, page, reference, files.Picture(reference.targets.front()));
      default:
        return Picture(number, page, reference, files.Drawing(reference.targets));
    }
  }

  Result<std::string> Picture(size_t number, const HtmlPage& page, const PageReference& reference,
                              Result<std::string> name) {
    if (!name) return name;
    std::string markup;
    if (name->empty() && reference.id.empty() && reference.alternative.empty()) return markup;
    const std::string alternative = OneLine(reference.alternative);
    if (name->empty()) {
      markup.append("<span").append(reference.id).append(" class=\"missing\">");
      AppendSafe(alternative, markup);
      return markup.append("</span>");
    }
    Result<std::string> attributes = Resolved(number, page, reference.attributes);
    if (!attributes) return attributes;
    markup.append("<img src=\"").append(*name).append("\" alt=\"");
    AppendSafe(alternative, markup);
    return markup.append("\"").append(reference.id).append(*attributes).append("/>");
  }

  std::string Link(size_t number, const HtmlPage& page, const std::string& written) const {
    std::string target;
    if (const std::optional<size_t> position = text.PositionOf(written)) {
      const BookPlace& place = places->At(*position);
      target = sink.ReferenceTo(place.document);
      if (!place.id.empty()) target.append("#").append(place.id);
    } else if (written.starts_with('#')) {
      const std::string id = XmlIdOf(std::string_view(written).substr(1));
      if (page.ids.count(id) == 0) return {};
      target = sink.ReferenceTo(number).append("#").append(id);
    } else if (const Reference out = Resolve(written, {}); out.kind == Reference::Kind::kNet) {
      target = out.target;
    }
    return target.empty() ? target : " href=\"" + Escaped(target) + "\"";
  }

  const kav_mobi::Book& book;
  BookText text;
  BookSink& sink;
  Run& run;
  MobiFiles files;
  const unsigned threads;

  MobiPlan plan;
  std::vector<IndexEntry> index;
  Guide guide;
  Additions additions;
  std::optional<BookPlaces> places;
  std::vector<std::string> titles;  // of the documents, as the index has them
  std::optional<Resource> cover;
  bool isDictionary = false;
  size_t contentsPage = 0;
  size_t start = 0;

  std::vector<PageSheet> sheets;  // of the part at hand
  std::vector<FlatEntry> headings;
};

}  // namespace

Status MakeMobiBook(const kav_mobi::Book& book, const SourceOptions& options, BookSink& sink,
                    Run& run) {
  return Maker(book, options, sink, run).Make();
}
