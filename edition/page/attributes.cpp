// The tables of attributes: those that stay, and those that become style.
#include "edition/page/attributes.h"

#include <algorithm>
#include <iterator>

#include "base/text_gate.h"
#include "edition/book/markup.h"
#include "edition/book/metadata.h"
#include "edition/page/words.h"

namespace {

constexpr std::string_view kDecimalDigits = "0123456789";

bool IsNumber(std::string_view value) {
  return !value.empty() && value.size() < 6 &&
         value.find_first_not_of(kDecimalDigits) == std::string_view::npos;
}

// A count of columns or rows; browsers stop at a thousand.
bool IsCount(std::string_view value) {
  return IsNumber(value) && value.size() < 4 && value.find_first_not_of('0') != value.npos;
}

bool IsLength(std::string_view value) {
  return IsNumber(value.ends_with('%') ? value.substr(0, value.size() - 1) : value);
}

bool IsScope(std::string_view value) {
  constexpr std::string_view kScopes[] = {"row", "col", "rowgroup", "colgroup"};
  return std::find(std::begin(kScopes), std::end(kScopes), value) != std::end(kScopes);
}

bool IsDirection(std::string_view value) {
  return value == "ltr" || value == "rtl";
}

bool IsText(std::string_view value) {
  return !value.empty();
}

// Attributes that stay, of some elements or of all.
constexpr struct {
  const char* html;
  const char* name;
  std::string_view element;
  bool (*isValue)(std::string_view value);
} kAttributes[] = {
    {"lang", "xml:lang", "", IsLanguageTag},
    {"dir", "dir", "", IsDirection},
    {"title", "title", "", IsText},
    {"colspan", "colspan", "td", IsCount},
    {"colspan", "colspan", "th", IsCount},
    {"rowspan", "rowspan", "td", IsCount},
    {"rowspan", "rowspan", "th", IsCount},
    {"scope", "scope", "td", IsScope},
    {"scope", "scope", "th", IsScope},
    {"abbr", "abbr", "th", IsText},
    {"summary", "summary", "table", IsText},
    {"border", "border", "table", IsNumber},
    {"cellpadding", "cellpadding", "table", IsLength},
    {"cellspacing", "cellspacing", "table", IsLength},
    {"span", "span", "col", IsCount},
    {"span", "span", "colgroup", IsCount},
    {"width", "width", "img", IsLength},
    {"height", "height", "img", IsLength},
};

std::string Measure(std::string_view value) {
  return value.ends_with('%') ? std::string(value) : std::string(value) + "px";
}

bool IsColor(std::string_view value) {
  const std::string_view digits = value.starts_with('#') ? value.substr(1) : value;
  const bool isHex = digits.find_first_not_of("0123456789abcdefABCDEF") == std::string_view::npos;
  if (value.starts_with('#')) return isHex && (digits.size() == 3 || digits.size() == 6);
  return !value.empty() && value.find_first_not_of(
                               "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRST"
                               "UVWXYZ") == std::string_view::npos;
}

// Colours of old pages may lack their mark.
std::string Color(std::string_view value) {
  const bool isBare = value.size() == 6 &&
                      value.find_first_not_of("0123456789abcdefABCDEF") == std::string_view::npos;
  std::string color(isBare ? "#" : "");
  color += value;
  return IsColor(color) ? color : std::string();
}

std::string FontSize(std::string_view value) {
  constexpr const char* kSizes[] = {"x-small", "small",    "medium",  "large",
                                    "x-large", "xx-large", "xx-large"};
  if (value == "+1") return "larger";
  if (value.starts_with('+')) return "x-large";
  if (value.starts_with('-')) return "smaller";
  if (value.size() != 1 || value[0] < '1' || value[0] > '7') return {};
  return kSizes[value[0] - '1'];
}

std::string Faces(std::string_view value) {
  const bool isPlain = std::all_of(value.begin(), value.end(), [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == ' ' ||
           c == ',' || c == '-';
  });
  return isPlain && value.find_first_not_of(" ,") != value.npos && !value.ends_with(',')
             ? std::string(value)
             : std::string();
}

std::string Alignment(std::string_view value) {
  const std::string side = Lowered(value);
  if (side == "middle") return "center";
  return side == "left" || side == "right" || side == "center" || side == "justify" ? side : "";
}

std::string LengthOf(std::string_view value) {
  return IsLength(value) ? Measure(value) : std::string();
}

// Not wider than a page.
std::string WidthOf(std::string_view value) {
  const std::string length = LengthOf(value);
  return Pixels(length) > kWidestBox ? std::string() : length;
}

// A picture's and a table's place beside the text.
std::string Floating(std::string_view value) {
  const std::string side = Lowered(value);
  return side == "left" || side == "right" ? side : "";
}

std::string Vertical(std::string_view value) {
  constexpr std::string_view kPlaces[] = {"top", "middle", "bottom", "baseline"};
  const std::string place = Lowered(value);
  if (place == "center") return "middle";
  const bool isPlace =
      std::find(std::begin(kPlaces), std::end(kPlaces), place) != std::end(kPlaces);
  return isPlace ? place : "";
}

std::string Sides(std::string_view value) {
  const std::string side = Lowered(value);
  if (side == "all") return "both";
  return side == "left" || side == "right" || side == "both" ? side : "";
}

std::string ListStyle(std::string_view value) {
  if (value == "a") return "lower-alpha";
  if (value == "A") return "upper-alpha";
  if (value == "i") return "lower-roman";
  if (value == "I") return "upper-roman";
  if (value == "1") return "decimal";
  const std::string kind = Lowered(value);
  return kind == "disc" || kind == "circle" || kind == "square" ? kind : "";
}

// A formula of its own.
std::string Displayed(std::string_view value) {
  return Lowered(value) == "block" ? "block" : "";
}

std::string CenteredLine(std::string_view value) {
  return Displayed(value).empty() ? "" : "center";
}

std::string Centered(std::string_view value) {
  return Alignment(value) == "center" ? "auto" : "";
}

// A counter is set behind its step, and reset before it.
std::string OwnNumber(std::string_view value) {
  return IsNumber(value) ? "list-item " + std::string(value) : std::string();
}

std::string FirstNumber(std::string_view value) {
  return IsNumber(value) ? OwnNumber(std::to_string(std::stoi(std::string(value)) - 1))
                         : std::string();
}

// Attributes that become style: of one element, or "" of any that has no rule of its own.
constexpr struct {
  const char* html;
  std::string_view element;
  const char* property;
  std::string (*value)(std::string_view value);
} kStyles[] = {
    {"align", "img", "float", Floating},
    {"align", "img", "vertical-align", Vertical},
    {"align", "table", "float", Floating},
    {"align", "table", "margin-left", Centered},
    {"align", "table", "margin-right", Centered},
    {"align", "hr", "", nullptr},
    {"align", "", "text-align", Alignment},
    {"display", "math", "display", Displayed},
    {"display", "math", "text-align", CenteredLine},
    {"valign", "", "vertical-align", Vertical},
    {"bgcolor", "", "background-color", Color},
    {"color", "font", "color", Color},
    {"face", "font", "font-family", Faces},
    {"size", "font", "font-size", FontSize},
    {"text", "body", "color", Color},
    {"width", "table", "width", WidthOf},
    {"width", "td", "width", WidthOf},
    {"width", "th", "width", WidthOf},
    {"width", "col", "width", WidthOf},
    {"width", "hr", "width", WidthOf},
    {"height", "td", "height", LengthOf},
    {"border", "img", "border-width", LengthOf},
    {"hspace", "img", "margin-left", LengthOf},
    {"hspace", "img", "margin-right", LengthOf},
    {"vspace", "img", "margin-top", LengthOf},
    {"vspace", "img", "margin-bottom", LengthOf},
    {"clear", "br", "clear", Sides},
    {"type", "ol", "list-style-type", ListStyle},
    {"type", "ul", "list-style-type", ListStyle},
    {"type", "li", "list-style-type", ListStyle},
    {"start", "ol", "counter-reset", FirstNumber},
    {"value", "li", "counter-set", OwnNumber},
};

// Those that most elements have, and that neither stay nor become style by a table.
constexpr std::string_view kUsual[] = {"class", "href", "id", "name", "rel", "src"};

bool HasUsualOnly(const GumboNode& element) {
  const GumboVector& all = element.v.element.attributes;
  return std::all_of(all.data, all.data + all.length, [](const void* attribute) {
    return IsOneOf(kUsual, static_cast<const GumboAttribute*>(attribute)->name);
  });
}

void AddPresentation(const GumboNode& element, std::string_view name, std::string& style) {
  for (const char* html = ""; const auto& row : kStyles) {
    const bool isOwn = row.element == name;
    if (!isOwn && !row.element.empty()) continue;
    if (row.element.empty() && html == std::string_view(row.html)) continue;  // it had its own
    const char* value = FindAttribute(element, row.html);
    if (value == nullptr) continue;
    if (isOwn) html = row.html;
    const std::string becomes = row.value == nullptr ? std::string() : row.value(value);
    if (!becomes.empty()) style.append(row.property).append(": ").append(becomes).append("; ");
  }
  // With a width, pictures keep their shape, as they may have to be smaller.
  const std::string height = LengthOf(AttributeOf(element, "height"));
  if (name == "img" && !height.empty() && FindAttribute(element, "width") == nullptr) {
    style.append("height: ").append(height).append("; ");
  }
}

void Put(std::string_view name, std::string_view value, std::string& attributes) {
  attributes.append(" ").append(name).append("=\"");
  AppendSafe(value, attributes);
  attributes += '"';
}

}  // namespace

void AppendSafe(std::string_view text, std::string& markup) {
  const bool isPlain = std::all_of(text.begin(), text.end(), [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return (byte >= ' ' && byte != 0xEF && byte != 0x7F) || c == '\n' || c == '\t';
  });
  AppendEscaped(isPlain ? text : std::string_view(ToXmlCharacters(text)), markup);
}

std::string StyleOf(const GumboNode& element, std::string_view name, StyleRules& rules,
                    const StyleRules::Refer& refer) {
  std::string style;
  if (HasUsualOnly(element)) return style;
  AddPresentation(element, name, style);
  const std::string_view background = AttributeOf(element, "background");
  if (!background.empty()) {
    const std::string there = refer(background);
    if (!there.empty()) style.append("background-image: ").append(there).append("; ");
  }
  const std::string_view own = AttributeOf(element, "style");
  if (!own.empty()) style += rules.CleanDeclarations(own, refer);
  return style;
}

std::string AttributesOf(const GumboNode& element, std::string_view name,
                         std::string_view addedClass, std::string_view style) {
  std::string attributes;
  if (!addedClass.empty() || element.v.element.attributes.length > 0) {
    std::string classes(addedClass);
    const std::string_view own = AttributeOf(element, "class");
    if (!own.empty()) classes.append(classes.empty() ? "" : " ").append(own);
    if (!classes.empty()) Put("class", classes, attributes);
  }
  if (style.empty() && HasUsualOnly(element)) return attributes;
  for (const auto& row : kAttributes) {
    if (!row.element.empty() && row.element != name) continue;
    const std::string_view value = AttributeOf(element, row.html);
    if (!value.empty() && row.isValue(value)) Put(row.name, value, attributes);
  }
  // Marks of references in it are to stay.
  if (!style.empty()) {
    attributes.append(" style=\"");
    AppendEscaped(style.substr(0, style.find_last_not_of(' ') + 1), attributes);
    attributes += '"';
  }
  return attributes;
}
