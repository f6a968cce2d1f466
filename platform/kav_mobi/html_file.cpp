// From the book's markup to the page: what becomes of each tag, attribute and reference.
#include "platform/kav_mobi/html_file.h"

#include <algorithm>
#include <array>
#include <unordered_set>
#include <utility>

#include "base/mobi/dictionary.h"
#include "base/mobi/metadata.h"
#include "platform/kav_mobi/kav_mobi.h"
#include "platform/kav_mobi/link_targets.h"
#include "platform/kav_mobi/page_writer.h"
#include "platform/kav_mobi/picture_files.h"

namespace kav_mobi {
namespace {

constexpr Bytes kPlaceName = "place-";
constexpr Bytes kPageBreakStyle = " style=\"page-break-before: always\"";
// libxml2 gives up on values of megabytes; no honest one comes near this.
constexpr size_t kLongestValue = 8192;

// Attributes that are taken over, on any element ("") or on one. No other may name a file.
using ElementAndAttribute = std::pair<Bytes, Bytes>;
constexpr std::array<ElementAndAttribute, 18> kKept = {{
    {"", "class"},
    {"", "title"},
    {"", "dir"},
    {"", "style"},
    {"td", "colspan"},
    {"td", "rowspan"},
    {"th", "colspan"},
    {"th", "rowspan"},
    {"td", "align"},
    {"td", "valign"},
    {"th", "align"},
    {"th", "valign"},
    {"table", "border"},
    {"table", "cellspacing"},
    {"table", "cellpadding"},
    {"table", "summary"},
    {"img", "width"},
    {"img", "height"},
}};

// Schemes of links that lead out of the book.
constexpr std::array<Bytes, 4> kOuterSchemes = {"http://", "https://", "mailto:", "ftp://"};

// What a style may not contain: a reference to a file, or a way to hide one.
constexpr std::array<Bytes, 4> kUnsafeStyle = {"url", "@", "\\", "expression"};

constexpr std::array<Bytes, 4> kAlignments = {"left", "right", "center", "justify"};

// The sizes 1 to 7 of the element "font", and what stands for a relative one.
constexpr std::array<Bytes, 7> kFontSizes = {"x-small", "small",    "medium", "large",
                                             "x-large", "xx-large", "300%"};

bool IsOneOf(const auto& list, Bytes value) {
  return std::any_of(list.begin(), list.end(),
                     [value](Bytes item) { return SameName(item, value); });
}

bool ContainsAny(const auto& list, Bytes value) {
  std::string lower(value);
  std::transform(lower.begin(), lower.end(), lower.begin(), [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  });
  return std::any_of(list.begin(), list.end(),
                     [&lower](Bytes item) { return lower.find(item) != std::string::npos; });
}

bool LeadsOut(Bytes href) {
  return std::any_of(kOuterSchemes.begin(), kOuterSchemes.end(), [href](Bytes scheme) {
    return SameName(href.substr(0, scheme.size()), scheme);
  });
}

std::string FontSize(Bytes size) {
  if (size.starts_with('+')) return "font-size: larger";
  if (size.starts_with('-')) return "font-size: smaller";
  if (size.size() != 1 || size[0] < '1' || size[0] > '7') return {};
  return "font-size: " + std::string(kFontSizes[static_cast<size_t>(size[0] - '1')]);
}

bool IsColour(Bytes value) {
  return !value.empty() && std::all_of(value.begin(), value.end(), [](char c) {
    return c == '#' || (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
  });
}

// The style that presentational attributes of the old format stand for.
std::string ImpliedStyle(const Element& element, const Attributes& attributes) {
  std::string style(element.style);
  const auto add = [&style](const std::string& rule) {
    if (!rule.empty()) style.append(style.empty() ? "" : "; ").append(rule);
  };
  if (element.name == "font") {
    add(FontSize(attributes.Get("size")));
    const Bytes colour = attributes.Get("color");
    if (IsColour(colour)) add("color: " + std::string(colour));
  }
  const Bytes align = element.name == "center" ? Bytes("center") : attributes.Get("align");
  const bool aligns = element.role == Role::kParagraph || element.role == Role::kBlock;
  if (aligns && IsOneOf(kAlignments, align)) add("text-align: " + std::string(align));
  return style;
}

class BookPage {
 public:
  BookPage(const Book& book, const Markup& bookMarkup, OutputFile& file, PictureFiles& pictureFiles)
      : markup(bookMarkup),
        text(markup.Text()),
        headwords(HeadwordsOf(book, text)),
        targets(bookMarkup, PositionsOf(headwords), book.CodePage() == MOBI_UTF8),
        pictures(pictureFiles),
        writer(file, book.CodePage()) {}

  void Write(const std::string& title) {
    writer.Begin(title);
    Tag tag;
    size_t textBegin = 0;
    TagScanner scanner(text);
    while (scanner.Next(tag)) {
      WriteText(textBegin, tag.begin);
      WriteMarksAt(tag.begin);
      WriteTag(tag, tag.begin);
      textBegin = tag.end;
    }
    WriteText(textBegin, text.size());
    WriteMarksAt(text.size());
    writer.End();
  }

 private:
  static std::vector<size_t> PositionsOf(const std::vector<Headword>& headwords) {
    std::vector<size_t> positions;
    positions.reserve(headwords.size());
    for (const Headword& headword : headwords) positions.push_back(headword.position);
    return positions;
  }

  // Text up to `end`, with the marks that stand in it.
  void WriteText(size_t begin, size_t end) {
    for (size_t mark = NextMark(); mark < end; mark = NextMark()) {
      writer.Text(text.substr(begin, mark - begin));
      begin = std::max(begin, mark);
      WriteMarksAt(mark);
    }
    writer.Text(text.substr(begin, end - begin));
  }

  size_t NextMark() const {
    const std::vector<size_t>& places = targets.LinkedPlaces();
    const size_t place = nextPlace < places.size() ? places[nextPlace] : Bytes::npos;
    if (nextHeadword == headwords.size()) return place;
    return std::min(place, targets.PlaceOf(headwords[nextHeadword].position));
  }

  void WriteMarksAt(size_t place) {
    const std::vector<size_t>& places = targets.LinkedPlaces();
    while (nextPlace < places.size() && places[nextPlace] <= place) {
      writer.InlineMarkup("<span id=\"" + NameOf(places[nextPlace++]) + "\"></span>");
    }
    while (nextHeadword < headwords.size() &&
           targets.PlaceOf(headwords[nextHeadword].position) <= place) {
      writer.InlineMarkup("<b>" + headwords[nextHeadword++].markup + "</b> ");
    }
  }

  static std::string NameOf(size_t place) {
    return std::string(kPlaceName) + std::to_string(place);
  }

  // `at` is the byte of the book's text at which the tag, or the drawing that holds it, begins.
  void WriteTag(const Tag& tag, size_t at) {
    if (tag.element == nullptr || tag.kind == TagKind::kSkipped) return;
    const Element& element = *tag.element;
    const bool hasContent = element.role <= Role::kItem || element.role == Role::kBody;
    if (tag.kind == TagKind::kEnd) {
      if (hasContent) writer.Finish(element);
      return;
    }
    current.Read(tag.attributes);
    if (element.role == Role::kPicture) return WritePicture(element, at);
    if (element.role == Role::kPageBreak) return writer.Single(element, kPageBreakStyle);
    if (!hasContent) return writer.Single(element, KeptAttributes(element));
    const std::string attributes = KeptAttributes(element) + LinkAttribute(element, at);
    // A link without a target would only look like one; its end tag then closes nothing.
    if (element.name == "a" && attributes.empty()) return;
    writer.Start(element, attributes);
    if (tag.selfClosing) writer.Finish(element);
  }

  void WritePicture(const Element& element, size_t at) {
    const std::string& file = pictures.NameOf(markup.PictureNumber(current));
    if (file.empty()) {
      // Each drawing once and none inside of another, so that the page cannot outgrow the book.
      const Bytes drawing = inDrawing ? Bytes() : markup.Drawing(current);
      if (!drawing.empty() && drawings.insert(drawing.data()).second) WriteDrawing(drawing, at);
      return;
    }
    std::string attributes = " src=\"" + file + "\" alt=\"";
    attributes += writer.AttributeValue(Shortened(current.Get("alt"))) + "\"";
    writer.Single(*FindElement("img"),
                  attributes + (element.name == "img" ? KeptAttributes(element) : ""));
  }

  // The pictures and the text that a drawing (SVG) is made of; its lines cannot be shown.
  void WriteDrawing(Bytes drawing, size_t at) {
    inDrawing = true;
    Tag tag;
    size_t textBegin = 0;
    TagScanner scanner(drawing);
    while (scanner.Next(tag)) {
      writer.Text(drawing.substr(textBegin, tag.begin - textBegin));
      WriteTag(tag, at);
      textBegin = tag.end;
    }
    writer.Text(drawing.substr(textBegin));
    inDrawing = false;
  }

  static Bytes Shortened(Bytes value) { return value.size() > kLongestValue ? Bytes() : value; }

  std::string KeptAttributes(const Element& element) {
    std::string written;
    Bytes style;
    for (const auto& [name, value] : current) {
      if (value.empty() || value.size() > kLongestValue) continue;
      if (SameName(name, "style")) {
        if (!ContainsAny(kUnsafeStyle, value)) style = value;
      } else if (IsKept(element, name)) {
        Append(written, name, value);
      }
    }
    const Bytes lang = current.Get("lang");
    Append(written, "lang", Shortened(lang.empty() ? current.Get("xml:lang") : lang));
    std::string styles = ImpliedStyle(element, current);
    if (!style.empty()) styles += (styles.empty() ? "" : "; ") + std::string(style);
    Append(written, "style", styles);
    return written;
  }

  void Append(std::string& written, Bytes name, Bytes value) {
    if (value.empty()) return;
    written.append(" ")
        .append(name)
        .append("=\"")
        .append(writer.AttributeValue(value))
        .append("\"");
  }

  static bool IsKept(const Element& element, Bytes name) {
    return std::any_of(kKept.begin(), kKept.end(), [&](const ElementAndAttribute& kept) {
      return (kept.first.empty() || kept.first == element.name) && SameName(kept.second, name);
    });
  }

  std::string LinkAttribute(const Element& element, size_t at) {
    if (element.name != "a") return {};
    if (const std::optional<size_t> place = targets.Follow(current, at)) {
      return " href=\"#" + NameOf(*place) + "\"";
    }
    std::string link;
    const Bytes href = Shortened(current.Get("href"));
    if (LeadsOut(href)) Append(link, "href", href);
    return link;
  }

  const Markup& markup;
  Bytes text;
  std::vector<Headword> headwords;
  LinkTargets targets;
  PictureFiles& pictures;
  PageWriter writer;
  Attributes current;  // of the tag at hand
  std::unordered_set<const char*> drawings;
  bool inDrawing = false;
  size_t nextPlace = 0;
  size_t nextHeadword = 0;
};

// A text without markup: every line that is not blank is a paragraph.
void WritePlainText(const Book& book, const std::string& title, OutputFile& file) {
  PageWriter writer(file, book.CodePage());
  writer.Begin(title);
  const Element& paragraph = *FindElement("p");
  const Bytes text = book.Documents().front();
  for (size_t begin = 0; begin < text.size();) {
    const size_t end = std::min(text.find_first_of("\r\n", begin), text.size());
    const Bytes line = text.substr(begin, end - begin);
    if (line.find_first_not_of(kBlanks) != Bytes::npos) {
      writer.Start(paragraph, {});
      writer.Text(line);
      writer.Finish(paragraph);
    }
    begin = end + 1;
  }
  writer.End();
}

std::string FindCover(const Book& book, PictureFiles& pictures) {
  for (const size_t number : CoverCandidates(book)) {
    if (const std::string& name = pictures.NameOf(number); !name.empty()) return name;
  }
  return {};
}

}  // namespace

int WriteHtmlFile(const Book& book, const char* htmlPath, std::string& cover) {
  const std::string path(htmlPath);
  PictureFiles pictures(book, path.substr(0, path.rfind('/') + 1));
  OutputFile file(path);
  if (book.IsPlainText()) {
    WritePlainText(book, TitleOf(book), file);
  } else {
    const auto markup = book.IsKf8() ? MakeKf8Markup(book) : MakeKf7Markup(book);
    BookPage(book, *markup, file, pictures).Write(TitleOf(book));
  }
  cover = FindCover(book, pictures);
  return file.Close() && !pictures.Failed() ? KAV_MOBI_OK : KAV_MOBI_E_WRITE;
}

}  // namespace kav_mobi
