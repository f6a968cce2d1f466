// What attributes of the old format mean.
#include "edition/mobi/start_tag.h"

#include <algorithm>
#include <cctype>
#include <iterator>

#include "edition/mobi/book_text.h"

namespace {

using kav_mobi::Attributes;
using kav_mobi::Role;

constexpr size_t kReachOfQuote = 1024;

// A picture in several qualities names the best one first.
constexpr const char* kRecordAttributes[] = {"hirecindex", "recindex", "lowrecindex"};

// Sizes of fonts in parts of the text's own, which readers choose.
constexpr std::string_view kFontSizes[] = {"0.65em", "0.8em", "1em", "1.15em",
                                           "1.5em",  "2em",   "2em"};

constexpr std::string_view kNoSize = "0";  // instead of the one that became style

constexpr std::string_view kFont = "font";
constexpr std::string_view kQuote = "blockquote";

constexpr std::string_view kUnits[] = {"em", "ex", "pt", "px", "in", "cm", "mm", "%"};

// "1em", "-14pt"; a number alone counts pixels. Empty for what is no length.
std::string LengthOf(std::string_view value) {
  constexpr size_t kLongest = 12;
  const size_t end = std::min(value.find_first_not_of("-0123456789."), value.size());
  const std::string_view unit = value.substr(end);
  if (end == 0 || value.size() > kLongest || value.find('-', 1) < end) return {};
  if (unit.empty()) return std::string(value) + "px";
  const bool isUnit = std::find(std::begin(kUnits), std::end(kUnits), unit) != std::end(kUnits);
  return isUnit ? std::string(value) : std::string();
}

std::string_view FontSizeOf(std::string_view value) {
  const bool isSize = value.size() == 1 && value[0] >= '1' && value[0] <= '7';
  return isSize ? kFontSizes[value[0] - '1'] : std::string_view();
}

// Quotations that hold nothing but another one are how the old format has margins on the left.
bool HoldsQuote(std::string_view content) {
  kav_mobi::Tag tag;
  return content.starts_with('<') &&
         kav_mobi::TagScanner(content.substr(0, kReachOfQuote)).Next(tag) && tag.begin == 0 &&
         tag.kind == kav_mobi::TagKind::kStart && tag.element != nullptr &&
         tag.element->name == kQuote;
}

// In the old format, the width of a paragraph is its indent, and its height the space before it.
std::string StyleOf(const kav_mobi::Element& element, const Attributes& attributes,
                    std::string_view content) {
  std::string style(element.style);
  const auto add = [&](const char* property, std::string_view value) {
    if (value.empty()) return;
    style.append(style.empty() ? "" : "; ").append(property).append(": ").append(value);
  };
  if (element.name == "center") add("text-align", "center");
  if (element.name == kFont) add("font-size", FontSizeOf(attributes.Get("size")));
  if (element.role != Role::kParagraph && element.role != Role::kBlock) return style;
  const std::string indent = LengthOf(attributes.Get("width"));
  add("text-indent", indent);
  if (indent.starts_with('-')) add("margin-left", std::string_view(indent).substr(1));
  const std::string space = LengthOf(attributes.Get("height"));
  if (!space.starts_with('-')) add("margin-top", space);
  if (element.name != kQuote) return style;
  if (!space.empty()) add("margin-bottom", "0");
  if (HoldsQuote(content)) add("margin-right", "0");
  return style;
}

void Put(std::string_view name, std::string_view value, std::string& html) {
  if (value.empty()) return;
  html.append(" ").append(name).append("=\"").append(value).append("\"");
}

void PutOldAttributes(const kav_mobi::Tag& tag, std::string_view content, std::string& html) {
  Attributes attributes;
  attributes.Read(tag.attributes);
  if (tag.element->role == Role::kPicture) Put("src", PictureReferenceOf(attributes, false), html);
  if (tag.element->name == "a") Put("href", LinkReferenceOf(attributes, false), html);
  if (tag.element->name == kFont && !FontSizeOf(attributes.Get("size")).empty()) {
    Put("size", kNoSize, html);
  }
  std::string style = StyleOf(*tag.element, attributes, content);
  const std::string_view own = attributes.Get("style");
  if (!style.empty() && own.find('"') == std::string_view::npos) {
    if (!own.empty()) style.append("; ").append(own);
    Put("style", style, html);
  }
}

}  // namespace

std::string PictureReferenceOf(const Attributes& attributes, bool isNew) {
  if (isNew) return std::string(SourceOf(attributes));
  for (const char* name : kRecordAttributes) {
    const std::optional<size_t> record = DecimalOf(attributes.Get(name));
    if (record) return std::string(kRecordReference) + std::to_string(*record);
  }
  return {};
}

std::string LinkReferenceOf(const Attributes& attributes, bool isNew) {
  if (isNew) return std::string(attributes.Get("href"));
  const std::optional<size_t> position = DecimalOf(attributes.Get("filepos"));
  return position ? std::string(kFileReference) + std::to_string(*position) : std::string();
}

void AppendStartTag(std::string_view text, const kav_mobi::Tag& tag, bool isNew,
                    std::string_view id, std::string& html) {
  const size_t name = 1 + tag.name.size();
  const size_t end = tag.end - tag.begin;
  html += text.substr(0, name);
  Put("id", id, html);
  if (!isNew && tag.element != nullptr) PutOldAttributes(tag, text.substr(end), html);
  html += text.substr(name, end - name);
}
