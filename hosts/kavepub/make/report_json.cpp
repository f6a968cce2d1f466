// Puts reports into objects.
#include "hosts/kavepub/make/report_json.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <sstream>

namespace {

using Object = nlohmann::ordered_json;

constexpr char kAuthors[] = "authors";  // a line each
constexpr const char* kNumbers[] = {"documents", "pages", "pictures", "bytes"};

// 0 for what is none, as it may come from a cell that was taken over.
std::uint64_t NumberOf(const std::string& fact) {
  std::uint64_t number = 0;
  std::from_chars(fact.data(), fact.data() + fact.size(), number);
  return number;
}

Object AsJson(const std::string& name, const std::string& fact) {
  const bool isNumber =
      std::find(std::begin(kNumbers), std::end(kNumbers), name) != std::end(kNumbers);
  if (isNumber) return NumberOf(fact);
  if (name != kAuthors) return fact;
  Object authors = Object::array();
  std::istringstream lines(fact);
  for (std::string author; std::getline(lines, author);) authors.push_back(author);
  return authors;
}

}  // namespace

Object AsJson(const BookReport::Chapter& chapter) {
  Object object;
  object["title"] = chapter.title;
  object["level"] = chapter.level;
  if (chapter.line > 0) object["line"] = chapter.line;
  return object;
}

Object AsJson(const BookWarning& warning) {
  return {{"place", warning.place}, {"message", warning.message}};
}

Object AsJson(const BookReport& report) {
  Object object;
  for (const auto& [name, fact] : report.facts) object[name] = AsJson(name, fact);
  object["chapters"] = Object::array();
  for (const BookReport::Chapter& chapter : report.chapters) {
    object["chapters"].push_back(AsJson(chapter));
  }
  return object;
}
