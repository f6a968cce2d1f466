// From the book's markup to the page: what becomes of each tag, attribute and reference.
#include "html_file.h"

#include <algorithm>
#include <array>
#include <unordered_set>
#include <utility>

#include "kav_mobi.h"
#include "link_targets.h"
#include "metadata.h"
#include "page_writer.h"
#include "picture_files.h"

namespace kav_mobi {
namespace {

constexpr Bytes kBlanks = " \t\r\n";
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

bool isOneOf(const auto& list, Bytes value) {
  return std::any_of(list.begin(), list.end(),
                     [value](Bytes item) { return sameName(item, value); });
}

bool containsAny(const auto& list, Bytes value) {
  std::string lower(value);
  std::transform(lower.begin(), lower.end(), lower.begin(), [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  });
  return std::any_of(list.begin(), list.end(),
                     [&lower](Bytes item) { return lower.find(item) != std::string::npos; });
}

bool leadsOut(Bytes href) {
  return std::any_of(kOuterSchemes.begin(), kOuterSchemes.end(), [href](Bytes scheme) {
    return sameName(href.substr(0, scheme.size()), scheme);
  });
}

std::string fontSize(Bytes size) {
  if (size.starts_with('+')) return "font-size: larger";
  if (size.starts_with('-')) return "font-size: smaller";
  if (size.size() != 1 || size[0] < '1' || size[0] > '7') return {};
  return "font-size: " + std::string(kFontSizes[static_cast<size_t>(size[0] - '1')]);
}

bool isColour(Bytes value) {
  return !value.empty() && std::all_of(value.begin(), value.end(), [](char c) {
    return c == '#' || (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
  });
}

// The style that presentational attributes of the old format stand for.
std::string impliedStyle(const Element& element, const Attributes& attributes) {
  std::string style(element.style);
  const auto add = [&style](const std::string& rule) {
    if (!rule.empty()) style.append(style.empty() ? "" : "; ").append(rule);
  };
  if (element.name == "font") {
    add(fontSize(attributes.get("size")));
    const Bytes colour = attributes.get("color");
    if (isColour(colour)) add("color: " + std::string(colour));
  }
  const Bytes align = element.name == "center" ? Bytes("center") : attributes.get("align");
  const bool aligns = element.role == Role::kParagraph || element.role == Role::kBlock;
  if (aligns && isOneOf(kAlignments, align)) add("text-align: " + std::string(align));
  return style;
}

class BookPage {
 public:
  BookPage(const Book& book, const Markup& markup, OutputFile& file, PictureFiles& pictures)
      : markup_(markup),
        text_(markup.text()),
        headwords_(headwordsOf(book, text_)),
        targets_(markup, positionsOf(headwords_), book.codePage() == MOBI_UTF8),
        pictures_(pictures),
        writer_(file, book.codePage()) {}

  void write(const std::string& title) {
    writer_.begin(title);
    Tag tag;
    size_t textBegin = 0;
    TagScanner scanner(text_);
    while (scanner.next(tag)) {
      writeText(textBegin, tag.begin);
      writeMarksAt(tag.begin);
      writeTag(tag, tag.begin);
      textBegin = tag.end;
    }
    writeText(textBegin, text_.size());
    writeMarksAt(text_.size());
    writer_.end();
  }

 private:
  static std::vector<size_t> positionsOf(const std::vector<Headword>& headwords) {
    std::vector<size_t> positions;
    positions.reserve(headwords.size());
    for (const Headword& headword : headwords) positions.push_back(headword.position);
    return positions;
  }

  // Text up to `end`, with the marks that stand in it.
  void writeText(size_t begin, size_t end) {
    for (size_t mark = nextMark(); mark < end; mark = nextMark()) {
      writer_.text(text_.substr(begin, mark - begin));
      begin = std::max(begin, mark);
      writeMarksAt(mark);
    }
    writer_.text(text_.substr(begin, end - begin));
  }

  size_t nextMark() const {
    const std::vector<size_t>& places = targets_.linkedPlaces();
    const size_t place = nextPlace_ < places.size() ? places[nextPlace_] : Bytes::npos;
    if (nextHeadword_ == headwords_.size()) return place;
    return std::min(place, targets_.placeOf(headwords_[nextHeadword_].position));
  }

  void writeMarksAt(size_t place) {
    const std::vector<size_t>& places = targets_.linkedPlaces();
    while (nextPlace_ < places.size() && places[nextPlace_] <= place) {
      writer_.inlineMarkup("<span id=\"" + nameOf(places[nextPlace_++]) + "\"></span>");
    }
    while (nextHeadword_ < headwords_.size() &&
           targets_.placeOf(headwords_[nextHeadword_].position) <= place) {
      const std::string& word = headwords_[nextHeadword_++].word;
      writer_.inlineMarkup("<b>" + escaped(word) + "</b> ");
    }
  }

  static std::string nameOf(size_t place) {
    return std::string(kPlaceName) + std::to_string(place);
  }

  // `at` is the byte of the book's text at which the tag, or the drawing that holds it, begins.
  void writeTag(const Tag& tag, size_t at) {
    if (tag.element == nullptr || tag.kind == TagKind::kSkipped) return;
    const Element& element = *tag.element;
    const bool hasContent = element.role <= Role::kItem || element.role == Role::kBody;
    if (tag.kind == TagKind::kEnd) {
      if (hasContent) writer_.finish(element);
      return;
    }
    attributes_.read(tag.attributes);
    if (element.role == Role::kPicture) return writePicture(element, at);
    if (element.role == Role::kPageBreak) return writer_.single(element, kPageBreakStyle);
    if (!hasContent) return writer_.single(element, keptAttributes(element));
    const std::string attributes = keptAttributes(element) + linkAttribute(element, at);
    // A link without a target would only look like one; its end tag then closes nothing.
    if (element.name == "a" && attributes.empty()) return;
    writer_.start(element, attributes);
    if (tag.selfClosing) writer_.finish(element);
  }

  void writePicture(const Element& element, size_t at) {
    const std::string& file = pictures_.nameOf(markup_.pictureNumber(attributes_));
    if (file.empty()) {
      const Bytes drawing = markup_.drawing(attributes_);
      // Each drawing once, so that the page cannot outgrow the book.
      if (!drawing.empty() && drawings_.insert(drawing.data()).second) writeDrawing(drawing, at);
      return;
    }
    std::string attributes = " src=\"" + file + "\" alt=\"";
    attributes += writer_.attributeValue(shortened(attributes_.get("alt"))) + "\"";
    writer_.single(*findElement("img"),
                   attributes + (element.name == "img" ? keptAttributes(element) : ""));
  }

  // The pictures and the text that a drawing (SVG) is made of; its lines cannot be shown.
  void writeDrawing(Bytes drawing, size_t at) {
    Tag tag;
    size_t textBegin = 0;
    TagScanner scanner(drawing);
    while (scanner.next(tag)) {
      writer_.text(drawing.substr(textBegin, tag.begin - textBegin));
      writeTag(tag, at);
      textBegin = tag.end;
    }
    writer_.text(drawing.substr(textBegin));
  }

  static Bytes shortened(Bytes value) { return value.size() > kLongestValue ? Bytes() : value; }

  std::string keptAttributes(const Element& element) {
    std::string written;
    Bytes style;
    for (const auto& [name, value] : attributes_) {
      if (value.empty() || value.size() > kLongestValue) continue;
      if (sameName(name, "style")) {
        if (!containsAny(kUnsafeStyle, value)) style = value;
      } else if (isKept(element, name)) {
        append(written, name, value);
      }
    }
    const Bytes lang = attributes_.get("lang");
    append(written, "lang", lang.empty() ? attributes_.get("xml:lang") : lang);
    std::string styles = impliedStyle(element, attributes_);
    if (!style.empty()) styles += (styles.empty() ? "" : "; ") + std::string(style);
    append(written, "style", styles);
    return written;
  }

  void append(std::string& written, Bytes name, Bytes value) {
    if (value.empty()) return;
    written.append(" ")
        .append(name)
        .append("=\"")
        .append(writer_.attributeValue(value))
        .append("\"");
  }

  static bool isKept(const Element& element, Bytes name) {
    return std::any_of(kKept.begin(), kKept.end(), [&](const ElementAndAttribute& kept) {
      return (kept.first.empty() || kept.first == element.name) && sameName(kept.second, name);
    });
  }

  std::string linkAttribute(const Element& element, size_t at) {
    if (element.name != "a") return {};
    if (const std::optional<size_t> place = targets_.follow(attributes_, at)) {
      return " href=\"#" + nameOf(*place) + "\"";
    }
    std::string link;
    const Bytes href = shortened(attributes_.get("href"));
    if (leadsOut(href)) append(link, "href", href);
    return link;
  }

  static std::string escaped(const std::string& word) {
    std::string text;
    for (const char c : word) {
      if (c == '<') {
        text += "&lt;";
      } else {
        text += c;
      }
    }
    return text;
  }

  const Markup& markup_;
  Bytes text_;
  std::vector<Headword> headwords_;
  LinkTargets targets_;
  PictureFiles& pictures_;
  PageWriter writer_;
  Attributes attributes_;
  std::unordered_set<const char*> drawings_;
  size_t nextPlace_ = 0;
  size_t nextHeadword_ = 0;
};

// A text without markup: every line that is not blank is a paragraph.
void writePlainText(const Book& book, const std::string& title, OutputFile& file) {
  PageWriter writer(file, book.codePage());
  writer.begin(title);
  const Element& paragraph = *findElement("p");
  const Bytes text = book.documents().front();
  for (size_t begin = 0; begin < text.size();) {
    const size_t end = std::min(text.find_first_of("\r\n", begin), text.size());
    const Bytes line = text.substr(begin, end - begin);
    if (line.find_first_not_of(kBlanks) != Bytes::npos) {
      writer.start(paragraph, {});
      writer.text(line);
      writer.finish(paragraph);
    }
    begin = end + 1;
  }
  writer.end();
}

std::string findCover(const Book& book, PictureFiles& pictures) {
  for (const size_t number : coverCandidates(book)) {
    if (const std::string& name = pictures.nameOf(number); !name.empty()) return name;
  }
  return {};
}

}  // namespace

int writeHtmlFile(const Book& book, const char* htmlPath, std::string& cover) {
  const std::string path(htmlPath);
  PictureFiles pictures(book, path.substr(0, path.rfind('/') + 1));
  OutputFile file(path);
  if (book.isPlainText()) {
    writePlainText(book, titleOf(book), file);
  } else {
    const auto markup = book.isKf8() ? makeKf8Markup(book) : makeKf7Markup(book);
    BookPage(book, *markup, file, pictures).write(titleOf(book));
  }
  cover = findCover(book, pictures);
  return file.close() && !pictures.failed() ? KAV_MOBI_OK : KAV_MOBI_E_WRITE;
}

}  // namespace kav_mobi
