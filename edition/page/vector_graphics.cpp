// Lets pass what draws, and nothing that runs or comes from elsewhere.
#include "edition/page/vector_graphics.h"

#include <libxml/SAX2.h>
#include <libxml/parser.h>
#include <libxml/tree.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <new>
#include <unordered_set>
#include <utility>
#include <vector>

#include "base/error_silence.h"
#include "edition/book/metadata.h"
#include "edition/page/attributes.h"
#include "edition/page/reference.h"
#include "edition/page/style_rules.h"
#include "edition/page/words.h"

namespace {

constexpr std::string_view kGraphicElements[] = {"a",
                                                 "circle",
                                                 "clipPath",
                                                 "defs",
                                                 "desc",
                                                 "ellipse",
                                                 "feBlend",
                                                 "feColorMatrix",
                                                 "feComposite",
                                                 "feFlood",
                                                 "feGaussianBlur",
                                                 "feMerge",
                                                 "feMergeNode",
                                                 "feOffset",
                                                 "filter",
                                                 "g",
                                                 "image",
                                                 "line",
                                                 "linearGradient",
                                                 "marker",
                                                 "mask",
                                                 "path",
                                                 "pattern",
                                                 "polygon",
                                                 "polyline",
                                                 "radialGradient",
                                                 "rect",
                                                 "stop",
                                                 "style",
                                                 "svg",
                                                 "switch",
                                                 "symbol",
                                                 "text",
                                                 "textPath",
                                                 "title",
                                                 "tspan",
                                                 "use"};

constexpr std::string_view kGraphicAttributes[] = {"baseline-shift",
                                                   "class",
                                                   "clip-path",
                                                   "clip-rule",
                                                   "clipPathUnits",
                                                   "color",
                                                   "cx",
                                                   "cy",
                                                   "d",
                                                   "direction",
                                                   "display",
                                                   "dominant-baseline",
                                                   "dx",
                                                   "dy",
                                                   "fill",
                                                   "fill-opacity",
                                                   "fill-rule",
                                                   "filter",
                                                   "filterUnits",
                                                   "flood-color",
                                                   "flood-opacity",
                                                   "font-family",
                                                   "font-size",
                                                   "font-stretch",
                                                   "font-style",
                                                   "font-variant",
                                                   "font-weight",
                                                   "fx",
                                                   "fy",
                                                   "gradientTransform",
                                                   "gradientUnits",
                                                   "height",
                                                   "id",
                                                   "in",
                                                   "in2",
                                                   "lengthAdjust",
                                                   "letter-spacing",
                                                   "marker-end",
                                                   "marker-mid",
                                                   "marker-start",
                                                   "markerHeight",
                                                   "markerUnits",
                                                   "markerWidth",
                                                   "mask",
                                                   "maskContentUnits",
                                                   "maskUnits",
                                                   "mode",
                                                   "offset",
                                                   "opacity",
                                                   "operator",
                                                   "orient",
                                                   "overflow",
                                                   "patternContentUnits",
                                                   "patternTransform",
                                                   "patternUnits",
                                                   "points",
                                                   "preserveAspectRatio",
                                                   "primitiveUnits",
                                                   "r",
                                                   "refX",
                                                   "refY",
                                                   "result",
                                                   "rotate",
                                                   "rx",
                                                   "ry",
                                                   "shape-rendering",
                                                   "spreadMethod",
                                                   "startOffset",
                                                   "stdDeviation",
                                                   "stop-color",
                                                   "stop-opacity",
                                                   "stroke",
                                                   "stroke-dasharray",
                                                   "stroke-dashoffset",
                                                   "stroke-linecap",
                                                   "stroke-linejoin",
                                                   "stroke-miterlimit",
                                                   "stroke-opacity",
                                                   "stroke-width",
                                                   "style",
                                                   "text-anchor",
                                                   "text-decoration",
                                                   "text-rendering",
                                                   "textLength",
                                                   "transform",
                                                   "type",
                                                   "values",
                                                   "viewBox",
                                                   "visibility",
                                                   "width",
                                                   "word-spacing",
                                                   "writing-mode",
                                                   "x",
                                                   "x1",
                                                   "x2",
                                                   "y",
                                                   "y1",
                                                   "y2"};

constexpr std::string_view kWithText[] = {"desc", "text", "textPath", "title", "tspan"};

constexpr std::string_view kReferring[] = {
    "filter", "image", "linearGradient", "pattern", "radialGradient", "textPath", "use"};

// Without these attributes, drawings are not valid by SVG 1.1.
constexpr struct {
  std::string_view element, name, value;
} kRequired[] = {
    {"circle", "r", "0"},
    {"ellipse", "rx", "0"},
    {"ellipse", "ry", "0"},
    {"feBlend", "in2", "SourceGraphic"},
    {"feComposite", "in2", "SourceGraphic"},
    {"image", "height", "100%"},
    {"image", "width", "100%"},
    {"image", "xlink:href", kEmptyPicture},
    {"polygon", "points", "0,0"},
    {"polyline", "points", "0,0"},
    {"rect", "height", "0"},
    {"rect", "width", "0"},
    {"stop", "offset", "0"},
    {"style", "type", "text/css"},
};

// These show another part, and nothing without it.
constexpr std::string_view kShowingParts[] = {"textPath", "use"};

// A drawing of these shows nothing by itself.
constexpr std::string_view kUnseen[] = {"defs", "desc", "metadata", "style", "symbol", "title"};

constexpr size_t kMostBorrowed = size_t{1} << 20;

using Ids = std::unordered_set<std::string>;

std::string Nowhere(std::string_view reference) {
  std::string url;
  if (reference.starts_with('#')) url.append("url(").append(reference).append(")");
  return url;
}

bool LeadsAway(std::string_view value) {
  constexpr std::string_view kUrl = "url(";
  for (size_t at = 0; (at = value.find(kUrl, at)) != std::string_view::npos;) {
    at += kUrl.size();
    if (!value.substr(at).starts_with('#')) return true;
  }
  return false;
}

class Writer {
 public:
  // With the ids that the drawing has.
  explicit Writer(Ids known) : parts(std::move(known)) {}

  // False for an element that is left out with all in it; such is a path without a way, and what
  // shows a part that is not there.
  bool Begin(std::string_view name, bool hasWay, std::string_view reference) {
    if (!IsOneOf(kGraphicElements, name) || (name == "path" && !hasWay)) return false;
    if (IsOneOf(kShowingParts, name) && !HasPart(reference)) return false;
    // A link in a picture leads nowhere.
    const bool isInText = !path.empty() && IsOneOf(kWithText, path.back());
    if (name == "a") name = isInText ? "tspan" : "g";
    path.emplace_back(name);
    file.append("<").append(name);
    names.clear();
    if (path.size() == 1) {
      file +=
          " xmlns=\"http://www.w3.org/2000/svg\" "
          "xmlns:xlink=\"http://www.w3.org/1999/xlink\" version=\"1.1\"";
    }
    return true;
  }

  void Attribute(std::string_view name, std::string_view value) {
    const bool isOfStyle = name == "type" && path.back() == "style";
    if (!IsOneOf(kGraphicAttributes, name) || isOfStyle || LeadsAway(value)) return;
    std::string own(value);
    if (name == "id") {
      own = XmlIdOf(value);
      if (own.empty() || !ids.insert(own).second) return;
    } else if (name == "style") {
      own = rules.CleanDeclarations(value, Nowhere);
    }
    if (!own.empty()) Put(name, own);
  }

  // References of a drawing lead to its own parts, or are pictures.
  void Link(std::string_view value) {
    if (!IsOneOf(kReferring, path.back())) return;
    if (value.starts_with('#')) {
      if (!HasPart(value)) return;
      std::string own = "#";
      return Put("xlink:href", own.append(XmlIdOf(value.substr(1))));
    }
    const bool isPicture =
        value.starts_with("data:image/png;base64,") || value.starts_with("data:image/jpeg;base64,");
    if (path.back() != "image" || value.empty()) return;
    if (isPicture) return Put("xlink:href", value);
    if (!takesPictures || value.starts_with("data:") || !names.insert("xlink:href").second) return;
    file += kPictureMark;
    pictures.emplace_back(value);
  }

  void EndOfTag() {
    for (const auto& [element, name, value] : kRequired) {
      if (path.back() == element) Put(name, value);  // unless it has its own
    }
    file += '>';
  }

  void Text(std::string_view text) {
    if (path.empty()) return;
    if (path.back() == "style") {
      AppendSafe(rules.Clean(text, Nowhere, Nowhere), file);
    } else if (IsOneOf(kWithText, path.back())) {
      AppendSafe(text, file);
    }
  }

  void End() {
    file.append("</").append(path.back()).append(">");
    path.pop_back();
  }

  std::string Take() { return std::move(file); }

  // The references to pictures of other files, in their order, when it is to mark these.
  bool takesPictures = false;
  std::vector<std::string> pictures;

  size_t Size() const { return file.size(); }

 private:
  bool HasPart(std::string_view reference) const {
    return reference.size() > 1 && reference.front() == '#' &&
           parts.count(XmlIdOf(reference.substr(1))) != 0;
  }

  void Put(std::string_view name, std::string_view value) {
    if (!names.insert(std::string(name)).second) return;
    file.append(" ").append(name).append("=\"");
    AppendSafe(value, file);
    file += '"';
  }

  std::string file = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";
  std::vector<std::string> path;
  std::unordered_set<std::string> names;  // of the attributes of a tag
  Ids ids;                                // that were written
  Ids parts;
  StyleRules rules;
};

std::string_view View(const xmlChar* text) {
  return text == nullptr ? std::string_view() : reinterpret_cast<const char*>(text);
}

std::string_view AttributeOf(const xmlNode& element, const char* name) {
  const xmlAttr* found = xmlHasProp(&element, reinterpret_cast<const xmlChar*>(name));
  const bool hasValue = found != nullptr && found->children != nullptr;
  return hasValue ? View(found->children->content) : std::string_view();
}

void WriteTag(const xmlNode& element, Writer& writer) {
  for (const xmlAttr* attribute = element.properties; attribute != nullptr;
       attribute = attribute->next) {
    const std::string_view name = View(attribute->name);
    std::string value;
    for (const xmlNode* part = attribute->children; part != nullptr; part = part->next) {
      value += View(part->content);
    }
    if (name == "href") {
      writer.Link(value);
    } else if (attribute->ns == nullptr) {
      writer.Attribute(name, value);
    }
  }
  writer.EndOfTag();
}

bool IsSvg(const xmlNode& node) {
  return node.ns == nullptr || View(node.ns->href) == "http://www.w3.org/2000/svg";
}

bool IsGraphic(const xmlNode& node) {
  return node.type == XML_ELEMENT_NODE && IsSvg(node) &&
         IsOneOf(kGraphicElements, View(node.name)) &&
         (View(node.name) != "path" || !AttributeOf(node, "d").empty());
}

Ids IdsOf(const xmlNode* root) {
  Ids ids;
  for (const xmlNode* node = root;;) {
    const bool isGraphic = IsGraphic(*node);
    if (isGraphic) ids.insert(XmlIdOf(AttributeOf(*node, "id")));
    if (isGraphic && node->children != nullptr) {
      node = node->children;
      continue;
    }
    while (node != root && node->next == nullptr) node = node->parent;
    if (node == root) return ids;
    node = node->next;
  }
}

void WriteTree(const xmlNode* root, Writer& writer) {
  const xmlNode* node = root;
  for (;;) {
    bool entered = false;
    if (node->type == XML_ELEMENT_NODE && IsSvg(*node) &&
        writer.Begin(View(node->name), !AttributeOf(*node, "d").empty(),
                     AttributeOf(*node, "href"))) {
      WriteTag(*node, writer);
      entered = true;
    } else if (node->type == XML_TEXT_NODE || node->type == XML_CDATA_SECTION_NODE) {
      writer.Text(View(node->content));
    }
    if (entered && node->children != nullptr) {
      node = node->children;
      continue;
    }
    if (entered) writer.End();
    while (node != root && node->next == nullptr) {
      node = node->parent;
      writer.End();
    }
    if (node == root) return;
    node = node->next;
  }
}

// That of the drawing as a whole.
std::string TitleOf(const xmlNode& root) {
  for (const xmlNode* child = root.children; child != nullptr; child = child->next) {
    if (child->type != XML_ELEMENT_NODE || View(child->name) != "title") continue;
    const xmlNode* text = child->children;
    return text == nullptr ? std::string() : OneLine(View(text->content));
  }
  return {};
}

bool IsGraphic(const GumboNode& node) {
  return IsElement(node) && node.v.element.tag_namespace == GUMBO_NAMESPACE_SVG &&
         IsOneOf(kGraphicElements, NameOf(node)) &&
         (NameOf(node) != "path" || !AttributeOf(node, "d").empty());
}

bool ShowsSomething(const GumboNode& svg) {
  const GumboVector& children = svg.v.element.children;
  return std::any_of(children.data, children.data + children.length, [](const void* child) {
    const auto& node = *static_cast<const GumboNode*>(child);
    return IsElement(node) && !IsOneOf(kUnseen, NameOf(node));
  });
}

// Adds the ids in a node; those that it refers to.
std::vector<std::string> NoteParts(const GumboNode& top, Ids& ids) {
  std::vector<std::string> wanted;
  const auto enter = [&](const GumboNode& node) {
    if (!IsGraphic(node)) return false;
    const std::string_view id = AttributeOf(node, "id");
    const std::string_view reference = AttributeOf(node, "href");
    if (!id.empty()) ids.insert(XmlIdOf(id));
    if (reference.starts_with('#')) wanted.push_back(XmlIdOf(reference.substr(1)));
    return true;
  };
  Walk(top, enter, [](const GumboNode&) {});
  return wanted;
}

// Calls inside() behind the tag of the top.
template <typename Inside>
void WriteNode(const GumboNode& top, Writer& writer, Inside inside) {
  const auto enter = [&](const GumboNode& node) {
    if (IsText(node)) writer.Text(node.v.text.text);
    if (!IsElement(node) || node.v.element.tag_namespace != GUMBO_NAMESPACE_SVG) return false;
    const bool hasWay = !AttributeOf(node, "d").empty();
    if (!writer.Begin(NameOf(node), hasWay, AttributeOf(node, "href"))) return false;
    const GumboVector& attributes = node.v.element.attributes;
    for (unsigned i = 0; i < attributes.length; ++i) {
      const auto& attribute = *static_cast<const GumboAttribute*>(attributes.data[i]);
      if (attribute.name == std::string_view("href")) {
        writer.Link(attribute.value);
      } else if (attribute.attr_namespace == GUMBO_ATTR_NAMESPACE_NONE) {
        writer.Attribute(attribute.name, attribute.value);
      }
    }
    writer.EndOfTag();
    if (&node == &top) inside();
    return true;
  };
  Walk(top, enter, [&](const GumboNode&) { writer.End(); });
}

// Entities of a drawing that stand in other files stay there: these may be anything.
xmlEntity* IfOwn(xmlEntity* entity) {
  const bool isOwn = entity != nullptr && entity->etype != XML_EXTERNAL_GENERAL_PARSED_ENTITY &&
                     entity->etype != XML_EXTERNAL_GENERAL_UNPARSED_ENTITY &&
                     entity->etype != XML_EXTERNAL_PARAMETER_ENTITY;
  return isOwn ? entity : nullptr;
}

xmlEntity* OwnEntity(void* parser, const xmlChar* name) {
  return IfOwn(xmlSAX2GetEntity(parser, name));
}

xmlEntity* OwnParameterEntity(void* parser, const xmlChar* name) {
  return IfOwn(xmlSAX2GetParameterEntity(parser, name));
}

}  // namespace

DrawingParts::DrawingParts(const GumboNode& page) : left(kMostBorrowed) {
  const auto enter = [&](const GumboNode& node) {
    if (!IsElement(node)) return false;
    const std::string_view id = AttributeOf(node, "id");
    if (IsGraphic(node) && !id.empty()) nodes.try_emplace(XmlIdOf(id), &node);
    return true;
  };
  Walk(page, enter, [](const GumboNode&) {});
}

const GumboNode* DrawingParts::Find(const std::string& id) const {
  const auto known = nodes.find(id);
  return known == nodes.end() || left == 0 ? nullptr : known->second;
}

void DrawingParts::Charge(size_t bytes) {
  left -= std::min(left, bytes);
}

std::vector<std::string> DrawingOf(const GumboNode& svg, DrawingParts& others) {
  if (NameOf(svg) != "svg" || !ShowsSomething(svg)) return {};
  Ids ids;
  std::vector<const GumboNode*> borrowed = {&svg};
  // What is borrowed may show further parts.
  for (size_t i = 0; i < borrowed.size(); ++i) {
    for (const std::string& id : NoteParts(*borrowed[i], ids)) {
      const GumboNode* part = ids.count(id) == 0 ? others.Find(id) : nullptr;
      if (part != nullptr && ids.insert(id).second) borrowed.push_back(part);
    }
  }
  Writer writer(std::move(ids));
  writer.takesPictures = true;
  WriteNode(svg, writer, [&] {
    const size_t before = writer.Size();
    for (size_t i = 1; i < borrowed.size(); ++i) WriteNode(*borrowed[i], writer, [] {});
    others.Charge(writer.Size() - before);
  });
  std::vector<std::string> drawing = {writer.Take()};
  std::move(writer.pictures.begin(), writer.pictures.end(), std::back_inserter(drawing));
  return drawing;
}

std::string_view OnlyPictureOf(const GumboNode& svg) {
  constexpr std::string_view kAround[] = {"a", "desc", "g", "metadata", "svg", "title"};
  constexpr const char* kMoving[] = {"clip-path", "filter",    "mask", "opacity",
                                     "style",     "transform", "x",    "y"};
  std::string_view picture;
  bool isOnly = true;
  const auto enter = [&](const GumboNode& node) {
    if (!IsElement(node) || !isOnly) return false;
    const bool isMoved = std::any_of(std::begin(kMoving), std::end(kMoving), [&](const char* name) {
      const std::string_view value = AttributeOf(node, name);
      return !value.empty() && value != "0";
    });
    const bool isPicture = NameOf(node) == "image";
    isOnly = (isPicture && !isMoved && picture.empty()) ||
             (IsOneOf(kAround, NameOf(node)) && (!isMoved || &node == &svg));
    if (isPicture) picture = AttributeOf(node, "href");
    return !isPicture;
  };
  Walk(svg, enter, [](const GumboNode&) {});
  return isOnly && !picture.starts_with('#') ? picture : std::string_view();
}

std::string TitleOfDrawing(const GumboNode& svg) {
  std::string_view label = AttributeOf(svg, "aria-label");
  if (!label.empty()) return std::string(label);
  std::string title;
  const auto enter = [&](const GumboNode& node) {
    if (!IsElement(node) || !title.empty()) return false;
    const std::string_view name = NameOf(node);
    if (name == "title" || name == "text") title = OneLine(TextOf(node));
    return title.empty();
  };
  Walk(svg, enter, [](const GumboNode&) {});
  return title;
}

CleanedDrawing CleanDrawing(std::string_view file) {
  constexpr int kOptions = XML_PARSE_NOENT | XML_PARSE_NONET | XML_PARSE_NOWARNING |
                           XML_PARSE_RECOVER | XML_PARSE_NOCDATA;
  const ErrorSilence silence;
  const std::unique_ptr<xmlParserCtxt, decltype(&xmlFreeParserCtxt)> parser(xmlNewParserCtxt(),
                                                                            &xmlFreeParserCtxt);
  if (!parser) throw std::bad_alloc();
  if (file.size() > INT32_MAX) return {};
  // All errors are heard, as one of them tells that memory ran out and the rest is missing.
  parser->sax->error = ErrorSilence::Listen;
  parser->sax->getEntity = OwnEntity;
  parser->sax->getParameterEntity = OwnParameterEntity;
  const std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> document(
      xmlCtxtReadMemory(parser.get(), file.data(), static_cast<int>(file.size()), nullptr, nullptr,
                        kOptions),
      &xmlFreeDoc);
  if (silence.RanOutOfMemory()) throw std::bad_alloc();
  const xmlNode* root = document ? xmlDocGetRootElement(document.get()) : nullptr;
  if (root == nullptr || View(root->name) != "svg" || !IsSvg(*root)) return {};
  Writer writer(IdsOf(root));
  WriteTree(root, writer);
  return {writer.Take(), TitleOf(*root), parser->wellFormed == 1};
}
