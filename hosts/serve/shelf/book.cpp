// Writes books as JSON, for others and for later.
#include "hosts/serve/shelf/book.h"

#include <array>
#include <cmath>
#include <ctime>

#include "hosts/kavepub/make/report_json.h"
#include "hosts/serve/shelf/book_options.h"

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;
using Clock = std::chrono::steady_clock;

constexpr const char* kStates[] = {"waiting", "converting", "done", "failed", "cancelled"};
constexpr double kLeastProgress = 0.02;  // from which on the rest can be told
constexpr double kLeastSeconds = 0.3;
constexpr const char* kFound[] = {"title", "language", "kind"};

std::string TextOf(Book::Seconds time) {
  const std::time_t seconds = time.time_since_epoch().count();
  std::tm parts{};
  gmtime_r(&seconds, &parts);
  std::array<char, 32> text{};
  const size_t length = std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts);
  return {text.data(), length};
}

Json SecondsLeft(const Book& book) {
  if (book.state != Book::State::kConverting || book.progress < kLeastProgress) return nullptr;
  const double seconds = std::chrono::duration<double>(Clock::now() - book.begun).count();
  if (seconds < kLeastSeconds) return nullptr;
  return std::ceil(10 * seconds * (1 - book.progress) / book.progress) / 10;
}

std::string Joined(const Json& names) {
  std::string text;
  for (const Json& name : names) text += (text.empty() ? "" : ", ") + name.get<std::string>();
  return text;
}

std::string Dumped(const Json& object) {
  return object.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string Found(const Conversion& conversion) {
  const Json report = conversion.report ? ::AsJson(*conversion.report) : Json::object();
  Json found;
  for (const char* fact : kFound) found[fact] = report.value(fact, "");
  found["author"] = Joined(report.value("authors", Json::array()));
  found["chapters"] = report.value("chapters", Json::array());
  found["warnings"] = Json::array();
  for (const BookWarning& warning : conversion.warnings) {
    found["warnings"].push_back(::AsJson(warning));
  }
  const std::string object = Dumped(found);
  return object.substr(1, object.size() - 2);
}

Json Relative(const fs::path& file, const fs::path& place) {
  return file.empty() ? std::string() : file.lexically_relative(place).string();
}

fs::path Absolute(const Json& file, const fs::path& place) {
  const auto relative = file.get<std::string>();
  return relative.empty() ? fs::path() : place / relative;
}

}  // namespace

std::string Book::Name(const fs::path& place) const {
  return (order.folder.empty() ? order.inputs.front() : order.folder).lexically_relative(place);
}

void Book::Keep(const Conversion& conversion) {
  found = Found(conversion);
}

std::string Told(const Book& book, const fs::path& place, std::optional<size_t> position) {
  Json object = {{"id", book.id},
                 {"name", book.Name(place)},
                 {"state", kStates[static_cast<size_t>(book.state)]},
                 {"progress", book.progress},
                 {"secondsLeft", SecondsLeft(book)},
                 {"position", position ? Json(*position) : Json(nullptr)},
                 {"error", nullptr},
                 {"options", AsJson(book.options)},
                 {"size", book.size > 0 ? Json(book.size) : Json(nullptr)},
                 {"created", TextOf(book.created)},
                 {"expires", book.expires ? Json(TextOf(*book.expires)) : Json(nullptr)}};
  if (book.state == Book::State::kFailed) {
    object["error"] = {{"cause", NameOf(book.cause)}, {"message", book.error}};
  }
  static const std::string kNothingYet = Found({});
  std::string text = Dumped(object);
  text.back() = ',';
  return text + (book.found.empty() ? kNothingYet : book.found) + "}";
}

Json RecordOf(const Book& book, const fs::path& place) {
  Json inputs = Json::array();
  for (const fs::path& input : book.order.inputs) inputs.push_back(Relative(input, place));
  Json options = Json::array();
  for (const auto& [name, value] : book.options) options.push_back({name, value});
  return {{"id", book.id},
          {"session", book.session},
          {"upload", book.upload},
          {"kind", static_cast<int>(book.order.kind)},
          {"inputs", inputs},
          {"folder", Relative(book.order.folder, place)},
          {"output", Relative(book.order.output, place)},
          {"batch", book.isBatch},
          {"options", options},
          {"cover", book.cover},
          {"found", book.found},
          {"made", book.made},
          {"size", book.size},
          {"crc", book.crc},
          {"created", book.created.time_since_epoch().count()},
          {"expires", book.expires->time_since_epoch().count()}};
}

Book BookOf(const Json& record, const fs::path& place) {
  const auto timeOf = [&](const char* name) {
    return Book::Seconds(std::chrono::seconds(record.at(name).get<std::int64_t>()));
  };
  Book book;
  record.at("id").get_to(book.id);
  record.at("session").get_to(book.session);
  record.at("upload").get_to(book.upload);
  book.order.kind = static_cast<BookKind>(record.at("kind").get<int>());
  for (const Json& input : record.at("inputs")) {
    book.order.inputs.push_back(Absolute(input, place));
  }
  book.order.folder = Absolute(record.at("folder"), place);
  book.order.output = Absolute(record.at("output"), place);
  record.at("batch").get_to(book.isBatch);
  for (const Json& option : record.at("options")) {
    book.options.emplace_back(option.at(0).get<std::string>(), option.at(1).get<std::string>());
  }
  record.at("cover").get_to(book.cover);
  record.at("found").get_to(book.found);
  record.at("made").get_to(book.made);
  record.at("size").get_to(book.size);
  record.at("crc").get_to(book.crc);
  book.state = Book::State::kDone;
  book.progress = 1;
  book.created = timeOf("created");
  book.expires = timeOf("expires");
  return book;
}
