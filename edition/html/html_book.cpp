// The steps: read the pages, find their order, and write them.
#include "edition/html/html_book.h"

#include <algorithm>
#include <utility>

#include "edition/book/markup.h"
#include "edition/html/book_files.h"
#include "edition/html/repeated_parts.h"
#include "edition/html/site.h"
#include "edition/html/site_contents.h"
#include "edition/html/site_order.h"
#include "edition/page/attributes.h"
#include "edition/page/page_assembly.h"
#include "edition/text/language.h"

namespace {

constexpr size_t kLongestRepeated = 256;  // of a link that goes on behind a block
constexpr size_t kEnoughForLanguage = size_t{1} << 16;
constexpr size_t kLittleForLanguage = size_t{1} << 12;

// The letters of a body, roughly.
void AddSample(std::string_view markup, std::string& sample) {
  bool isInTag = false;
  for (const char c : markup.substr(0, kEnoughForLanguage * 4)) {
    if (c == '<' || c == '>') isInTag = c == '<';
    if (!isInTag && static_cast<unsigned char>(c) >= ' ') sample += c == '>' ? ' ' : c;
    if (sample.size() == kEnoughForLanguage) break;
  }
}

class Maker {
 public:
  Maker(Site& read, const SourceOptions& chosen, BookSink& target, Run& shared)
      : site(read), options(chosen), sink(target), run(shared), files(read, target, shared) {}

  Status Make() {
    if (Status status = sink.Begin(Facts()); !status) return status;
    std::vector<std::vector<bool>> repeated = RepeatedParts(site.Pages());
    order = OrderOf(site, repeated);
    if (!options.keepsNavigation) dropped = std::move(repeated);
    dropped.resize(site.Pages().size());
    numbers.resize(site.Pages().size());
    for (size_t i = 0; i < order.size(); ++i) {
      numbers[order[i].page] = i;
      dropped[order[i].page].resize(site.Pages()[order[i].page].content.parts.size());
    }
    for (size_t i = 0; i < order.size(); ++i) {
      if (Status status = AddPage(order[i].page); !status) return status;
      const double share = static_cast<double>(i + 1) / static_cast<double>(order.size());
      const double done = kShareOfReading + (1 - kShareOfReading) * share;
      if (Status status = run.Advance(done); !status) return status;
    }
    return sink.Finish(ContentsOf(site, order, dropped));
  }

 private:
  Metadata Facts() {
    Metadata facts = site.Pages().front().content.facts;
    if (facts.language.empty()) facts.language = LanguageOfText(Sample());
    return facts;
  }

  // The first page may show nothing but others in frames.
  std::string Sample() {
    std::string sample;
    for (SitePage& page : site.Pages()) {
      std::string body = page.body.Take();
      AddSample(body, sample);
      page.body = KeptText(std::move(body));
      if (sample.size() >= kLittleForLanguage) break;
    }
    return sample;
  }

  Status AddPage(size_t number) {
    SitePage& page = site.Pages()[number];
    HtmlPage& content = page.content;
    content.markup.body = page.body.Take();
    std::vector<bool> isPut(content.references.size(), false);
    std::vector<std::string> links(content.references.size());
    const ResolveMark resolve = [&](size_t reference) {
      const PageReference& put = content.references[reference];
      const bool isLong =
          put.kind == PageReference::Kind::kLink && put.targets.front().size() > kLongestRepeated;
      if (isLong && isPut[reference]) return Result<std::string>(std::string());
      const bool isNew = !isPut[reference];
      isPut[reference] = true;
      if (put.kind != PageReference::Kind::kLink) return Becomes(page, put);
      if (isNew) links[reference] = Link(page, put.targets.front());
      return Result<std::string>(links[reference]);
    };
    Document document;
    document.title = TitleOf(content, dropped[number]);
    document.language = content.facts.language;
    Result<std::vector<std::string>> sheets = files.Sheets(page);
    if (!sheets) return sheets.Why();
    Document::Look look{std::move(*sheets), content.bodyId, content.bodyClass, {}};
    if (content.ids.count(look.id) != 0) look.id.clear();
    Result<BlockRun> body = Assemble(std::exchange(content.markup, {}), dropped[number], resolve);
    if (!body) return body.Why();
    static_cast<BlockRun&>(document) = std::move(*body);
    Result<std::string> style = Resolved(page, content.bodyStyle);
    if (!style) return style.Why();
    look.style = std::move(*style);
    document.look = std::move(look);
    std::vector<PageReference>().swap(content.references);
    return sink.Add(std::move(document));
  }

  // Attributes may show files as well.
  Result<std::string> Resolved(const SitePage& page, const std::string& attributes) {
    Result<BlockRun> whole = Assemble({attributes, {}}, {}, [&](size_t reference) {
      return Becomes(page, page.content.references[reference]);
    });
    if (!whole) return whole.Why();
    return std::move(whole->body);
  }

  Result<std::string> Becomes(const SitePage& page, const PageReference& reference) {
    switch (reference.kind) {
      case PageReference::Kind::kLink:
        return Link(page, reference.targets.front());
      case PageReference::Kind::kStyleFile: {
        Result<std::string> name = files.FileOfStyle(page, reference.targets.front());
        if (!name) return name;
        return name->empty() ? std::string("none") : "url(" + *name + ")";
      }
      case PageReference::Kind::kPicture:
        return Picture(page, reference, files.Picture(page, reference.targets));
      default:
        return Picture(page, reference, files.Drawing(page, reference.targets));
    }
  }

  Result<std::string> Picture(const SitePage& page, const PageReference& reference,
                              Result<std::string> name) {
    if (!name) return name;
    std::string markup;
    if (!name->empty()) {
      markup.append("<img src=\"").append(*name).append("\" alt=\"");
      AppendSafe(OneLine(reference.alternative), markup);
      Result<std::string> attributes = Resolved(page, reference.attributes);
      if (!attributes) return attributes;
      return markup.append("\"").append(reference.id).append(*attributes).append("/>");
    }
    markup.append("<span").append(reference.id).append(" class=\"missing\">");
    AppendSafe(OneLine(reference.alternative), markup);
    return markup.append("</span>");
  }

  std::string Link(const SitePage& page, const std::string& written) const {
    const Reference reference = Resolve(written, page.base);
    std::string target;
    if (reference.kind == Reference::Kind::kNet) {
      target = reference.target;
    } else if (const size_t there = site.PageOf(page, reference); there != kNoPage) {
      if (written == "#") return {};
      target = sink.ReferenceTo(numbers[there]);
      const std::string id = IdIn(there, reference.fragment);
      if (!id.empty()) target.append("#").append(id);
    }
    return target.empty() ? target : " href=\"" + Escaped(target) + "\"";
  }

  // Only ids that are in the book.
  std::string IdIn(size_t number, const std::string& fragment) const {
    const HtmlPage& content = site.Pages()[number].content;
    for (const std::string& id : {XmlIdOf(fragment), XmlIdOf(Unescaped(fragment))}) {
      const auto known = content.ids.find(id);
      if (known == content.ids.end()) continue;
      if (known->second == kNoPart || !dropped[number][known->second]) return id;
    }
    return {};
  }

  Site& site;
  const SourceOptions& options;
  BookSink& sink;
  Run& run;
  BookFiles files;
  std::vector<OrderedPage> order;
  std::vector<size_t> numbers;  // of the documents, by page
  std::vector<std::vector<bool>> dropped;
};

}  // namespace

Status MakeHtmlBook(const std::vector<Input>& inputs, const SourceOptions& options, BookSink& sink,
                    Run& run) {
  Site site(inputs, options, run);
  if (Status status = site.Read(); !status) return status;
  return Maker(site, options, sink, run).Make();
}
