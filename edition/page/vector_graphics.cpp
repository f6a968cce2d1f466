// Lets pass what draws, and nothing that runs or comes from elsewhere.
#include "edition/page/vector_graphics.h"

#include <libxml/SAX2.h>
#include <libxml/parser.h>
#include <libxml/tree.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <unordered_set>

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

constexpr std::string_view kWithText[] = {"a", "desc", "text", "textPath", "title", "tspan"};

constexpr std::string_view kReferring[] = {
    "filter", "image", "linearGradient", "pattern", "radialGradient", "textPath", "use"};

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
  // False for an element that is left out with all in it; such is a path without a way.
  bool Begin(std::string_view name, bool hasWay) {
    if (!IsOneOf(kGraphicElements, name) || (name == "path" && !hasWay)) return false;
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
      std::string own = "#";
      return Put("xlink:href", own.append(XmlIdOf(value.substr(1))));
    }
    const bool isPicture =
        value.starts_with("data:image/png;base64,") || value.starts_with("data:image/jpeg;base64,");
    if (path.back() == "image" && isPicture) Put("xlink:href", value);
  }

  void EndOfTag() {
    if (path.back() == "style") file += " type=\"text/css\"";
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

 private:
  void Put(std::string_view name, std::string_view value) {
    if (!names.insert(std::string(name)).second) return;
    file.append(" ").append(name).append("=\"");
    AppendSafe(value, file);
    file += '"';
  }

  std::string file = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";
  std::vector<std::string> path;
  std::unordered_set<std::string> names;  // of the attributes of a tag
  std::unordered_set<std::string> ids;
  StyleRules rules;
};

std::string_view View(const xmlChar* text) {
  return text == nullptr ? std::string_view() : reinterpret_cast<const char*>(text);
}

bool HasWay(const xmlNode& element) {
  const xmlAttr* way = xmlHasProp(&element, reinterpret_cast<const xmlChar*>("d"));
  return way != nullptr && way->children != nullptr && !View(way->children->content).empty();
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

void WriteTree(const xmlNode* root, Writer& writer) {
  const xmlNode* node = root;
  for (;;) {
    bool entered = false;
    if (node->type == XML_ELEMENT_NODE && IsSvg(*node) &&
        writer.Begin(View(node->name), HasWay(*node))) {
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

std::string DrawingOf(const GumboNode& svg) {
  Writer writer;
  bool isTop = true;
  const auto enter = [&](const GumboNode& node) {
    if (IsText(node)) writer.Text(node.v.text.text);
    if (!IsElement(node) || node.v.element.tag_namespace != GUMBO_NAMESPACE_SVG) return false;
    const std::string_view name = NameOf(node);
    if ((isTop && name != "svg") || !writer.Begin(name, !AttributeOf(node, "d").empty()))
      return false;
    isTop = false;
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
    return true;
  };
  Walk(svg, enter, [&](const GumboNode&) { writer.End(); });
  return isTop ? std::string() : writer.Take();
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
  constexpr int kOptions = XML_PARSE_NOENT | XML_PARSE_NONET | XML_PARSE_NOERROR |
                           XML_PARSE_NOWARNING | XML_PARSE_RECOVER | XML_PARSE_NOCDATA;
  const ErrorSilence silence;
  const std::unique_ptr<xmlParserCtxt, decltype(&xmlFreeParserCtxt)> parser(xmlNewParserCtxt(),
                                                                            &xmlFreeParserCtxt);
  if (!parser || file.size() > INT32_MAX) return {};
  parser->sax->getEntity = OwnEntity;
  parser->sax->getParameterEntity = OwnParameterEntity;
  const std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> document(
      xmlCtxtReadMemory(parser.get(), file.data(), static_cast<int>(file.size()), nullptr, nullptr,
                        kOptions),
      &xmlFreeDoc);
  const xmlNode* root = document ? xmlDocGetRootElement(document.get()) : nullptr;
  if (root == nullptr || View(root->name) != "svg" || !IsSvg(*root)) return {};
  Writer writer;
  WriteTree(root, writer);
  return {writer.Take(), TitleOf(*root), parser->wellFormed == 1};
}
