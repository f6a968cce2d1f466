// Keeps the table of options that strangers may set.
#include "hosts/serve/shelf/book_options.h"

#include <algorithm>
#include <string>

#include "base/utf8.h"

namespace {

using Json = nlohmann::ordered_json;

constexpr size_t kLongestValue = 4096;
constexpr size_t kMostValues = 100;
constexpr char kEncoding[] = "encoding";

constexpr std::string_view kOffered[] = {
    "title",           "author",      "translator",     "language", "publisher",
    kCoverOption,      "date",        "subject",        "series",   "isbn",
    "series-index",    "description", "rights",         "chapters", kEncoding,
    "encoding-errors", "paragraphs",  "keep-navigation"};

bool IsOffered(std::string_view name) {
  return std::find(std::begin(kOffered), std::end(kOffered), name) != std::end(kOffered);
}

bool IsText(std::string_view value) {
  const auto isControl = [](char c) { return c == '\0' || c == '\x7F' || (c > 0 && c < '\t'); };
  return value.size() <= kLongestValue && ValidUtf8Length(value) == value.size() &&
         std::none_of(value.begin(), value.end(), isControl);
}

// Names of encodings reach the system's loader of converters.
bool IsPlainName(std::string_view value) {
  return std::all_of(value.begin(), value.end(), [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           std::string_view("-_.:+").find(c) != std::string_view::npos;
  });
}

Json ValuesOf(std::string_view values) {
  Json list = Json::array();
  for (size_t begin = 0; begin <= values.size();) {
    const size_t end = std::min(values.find('|', begin), values.size());
    list.push_back(values.substr(begin, end - begin));
    begin = end + 1;
  }
  return list;
}

}  // namespace

Json OfferedOptions() {
  Json options = Json::array();
  for (const kavepub_option& option : KnownEditionOptions()) {
    if (!IsOffered(option.name)) continue;
    options.push_back({{"name", option.name},
                       {"values", ValuesOf(option.values)},
                       {"description", option.description},
                       {"repeats", option.repeats != 0}});
  }
  return options;
}

void Choose(EditionOptions& options, std::string_view name, std::string_view value) {
  const std::string shown(name.substr(0, kLongestValue));
  if (!IsOffered(name)) throw WrongUsage("there is no option \"" + shown + "\"");
  if (value.empty()) return;
  const bool isAny =
      name != kCoverOption || value == "auto" || value == "none" || value == kCoverFile;
  const bool isSound = IsText(value) && (name != kEncoding || IsPlainName(value)) && isAny;
  if (!isSound) throw WrongUsage("that cannot be the " + shown);
  if (options.size() >= kMostValues) throw WrongUsage("there are too many options");
  options.emplace_back(name, value);
}

void ChooseAll(EditionOptions& options, const nlohmann::json& chosen) {
  if (!chosen.is_object()) throw WrongUsage("the options are no object");
  for (const auto& [name, value] : chosen.items()) {
    const nlohmann::json list = value.is_array() ? value : nlohmann::json::array({value});
    for (const nlohmann::json& one : list) {
      if (!one.is_string()) throw WrongUsage("the " + name + " is no text");
      Choose(options, name, one.get_ref<const std::string&>());
    }
  }
}

Json AsJson(const EditionOptions& options) {
  Json object = Json::object();
  for (const auto& [name, value] : options) {
    if (!object.contains(name)) {
      object[name] = value;
    } else if (object[name].is_array()) {
      object[name].push_back(value);
    } else {
      object[name] = Json::array({object[name], value});
    }
  }
  return object;
}

EditionOptions InOrderOfTool(EditionOptions options) {
  const std::vector<kavepub_option> known = KnownEditionOptions();
  const auto rank = [&known](const auto& option) {
    return std::ranges::find(known, option.first, &kavepub_option::name) - known.begin();
  };
  std::ranges::stable_sort(options, {}, rank);
  return options;
}

void CheckOptions(const EditionOptions& options) {
  EditionOptions known;
  for (const auto& [name, value] : options) {
    if (name != kCoverOption) known.emplace_back(name, value);
  }
  const EditionJob takes(known);
}
