// The table of all options: what they are called, what they can be, and what they set.
#include "edition/job_options.h"

#include <algorithm>
#include <charconv>
#include <iterator>

#include "base/encoding/text_decoder.h"

namespace {

constexpr char kAuto[] = "auto";
constexpr char kNone[] = "none";
constexpr unsigned kMostThreads = 256;

// Takes a value; false when it is none of those that the option can have.
using Take = bool (*)(JobOptions& options, std::string_view value);

struct Row {
  kavepub_option shown;
  Take take;
  Take takeData = nullptr;  // for the content of a file
};

template <std::string Metadata::*text>
bool TakeText(JobOptions& options, std::string_view value) {
  options.metadata.*text = OneLine(value);
  return true;
}

bool AddContributor(JobOptions& options, std::string_view name, const char* role) {
  options.metadata.contributors.push_back({OneLine(name), {}, role});
  return !options.metadata.contributors.back().name.empty();
}

bool TakeAuthor(JobOptions& options, std::string_view value) {
  return AddContributor(options, value, kAuthorRole);
}

bool TakeTranslator(JobOptions& options, std::string_view value) {
  return AddContributor(options, value, kTranslatorRole);
}

bool TakeLanguage(JobOptions& options, std::string_view value) {
  options.metadata.language = value == kAuto ? "" : value;
  options.source.language = options.metadata.language;
  return value == kAuto || IsLanguageTag(value);
}

bool TakeDate(JobOptions& options, std::string_view value) {
  options.metadata.date = value;
  return IsDate(value);
}

bool TakeSubject(JobOptions& options, std::string_view value) {
  options.metadata.subjects.push_back(OneLine(value));
  return true;
}

bool TakeIsbn(JobOptions& options, std::string_view value) {
  constexpr size_t kShort = 10;
  constexpr size_t kLong = 13;
  std::erase_if(options.metadata.identifiers,
                [](const Identifier& other) { return other.scheme == kIsbnScheme; });
  options.metadata.identifiers.push_back({kIsbnScheme, std::string(value)});
  const auto digits = std::count_if(value.begin(), value.end(), [](char letter) {
    return (letter >= '0' && letter <= '9') || letter == 'X' || letter == 'x';
  });
  return value.find_first_not_of("0123456789Xx- ") == std::string_view::npos &&
         (digits == kShort || digits == kLong);
}

bool TakeSeriesIndex(JobOptions& options, std::string_view value) {
  options.metadata.seriesIndex = value;
  return !value.empty() && value.find_first_not_of("0123456789.") == std::string_view::npos;
}

bool TakeCover(JobOptions& options, std::string_view value) {
  options.cover = value == kAuto   ? JobOptions::Cover::kAuto
                  : value == kNone ? JobOptions::Cover::kNone
                                   : JobOptions::Cover::kGiven;
  options.coverPath = value;
  options.coverBytes.reset();
  return !value.empty();
}

bool TakeCoverData(JobOptions& options, std::string_view bytes) {
  options.cover = JobOptions::Cover::kGiven;
  options.coverBytes = bytes;
  return true;
}

bool TakeStyle(JobOptions& options, std::string_view value) {
  options.stylePath = value;
  options.styleBytes.reset();
  return !value.empty();
}

bool TakeStyleData(JobOptions& options, std::string_view bytes) {
  options.styleBytes = bytes;
  return true;
}

template <std::string SourceOptions::*text>
bool TakeSource(JobOptions& options, std::string_view value) {
  options.source.*text = value == kAuto ? "" : value;
  return !value.empty();
}

bool TakeEncoding(JobOptions& options, std::string_view value) {
  return TakeSource<&SourceOptions::encoding>(options, value) &&
         (value == kAuto || TextDecoder(value).Exists());
}

bool TakeEncodingErrors(JobOptions& options, std::string_view value) {
  constexpr struct {
    std::string_view name;
    EncodingErrors errors;
  } kValues[] = {{kAuto, EncodingErrors::kFew},
                 {"strict", EncodingErrors::kNone},
                 {"replace", EncodingErrors::kAny}};
  const auto* found = std::find_if(std::begin(kValues), std::end(kValues),
                                   [&](const auto& row) { return row.name == value; });
  if (found == std::end(kValues)) return false;
  options.source.encodingErrors = found->errors;
  return true;
}

bool TakeParagraphs(JobOptions& options, std::string_view value) {
  TakeSource<&SourceOptions::paragraphs>(options, value);
  return value == kAuto || value == "line" || value == "wrapped";
}

bool TakeImportRoot(JobOptions& options, std::string_view value) {
  options.source.importRoot = value;
  return !value.empty();
}

bool TakeKeepNavigation(JobOptions& options, std::string_view value) {
  options.source.keepsNavigation = value == "yes";
  return value == "yes" || value == "no";
}

bool TakeThreads(JobOptions& options, std::string_view value) {
  options.threads = 0;
  if (value == kAuto) return true;
  const char* end = value.data() + value.size();
  const auto read = std::from_chars(value.data(), end, options.threads);
  return read.ec == std::errc() && read.ptr == end && options.threads >= 1 &&
         options.threads <= kMostThreads;
}

constexpr Row kOptions[] = {
    {{"title", "TEXT", "The title.", 0, 0}, TakeText<&Metadata::title>},
    {{"author", "NAME", "An author.", 1, 0}, TakeAuthor},
    {{"translator", "NAME", "A translator.", 1, 0}, TakeTranslator},
    {{"language", "auto|TAG", "The language, as a tag of BCP 47 such as en or zh-Hant.", 0, 0},
     TakeLanguage},
    {{"publisher", "NAME", "The publisher.", 0, 0}, TakeText<&Metadata::publisher>},
    {{"date", "YEAR[-MONTH[-DAY]]", "When it was published.", 0, 0}, TakeDate},
    {{"description", "TEXT", "What it is about.", 0, 0}, TakeText<&Metadata::description>},
    {{"subject", "TEXT", "A subject.", 1, 0}, TakeSubject},
    {{"rights", "TEXT", "Whose it is, and who may do what with it.", 0, 0},
     TakeText<&Metadata::rights>},
    {{"isbn", "NUMBER", "Its ISBN, of 10 or 13 digits.", 0, 0}, TakeIsbn},
    {{"series", "TEXT", "The series that it belongs to.", 0, 0}, TakeText<&Metadata::series>},
    {{"series-index", "NUMBER", "Its place in the series.", 0, 0}, TakeSeriesIndex},
    {{"cover", "auto|none|PICTURE",
      "The cover: the input's own or a drawn one, none, or a picture (JPEG, PNG, GIF, SVG).", 0, 1},
     TakeCover,
     TakeCoverData},
    {{"css", "FILE", "A style sheet that comes after the book's own.", 0, 1},
     TakeStyle,
     TakeStyleData},
    {{"chapters", "auto|none|REGEX", "Which lines of a text are headings of chapters.", 0, 0},
     TakeSource<&SourceOptions::chapters>},
    {{"encoding", "auto|ENCODING", "The encoding of the inputs, as iconv names it.", 0, 0},
     TakeEncoding},
    {{"encoding-errors", "auto|strict|replace",
      "How many bytes may be no characters, which are then replaced: a few, none, any number.", 0,
      0},
     TakeEncodingErrors},
    {{"paragraphs", "auto|line|wrapped", "What a line of a text is: a paragraph, or a part of one.",
      0, 0},
     TakeParagraphs},
    {{"import-root", "DIRECTORY",
      "A directory that holds the pages, and files that they show; else only their own is read.", 0,
      0},
     TakeImportRoot},
    {{"keep-navigation", "yes|no",
      "Whether bars of links stay that all pages of a site have; no where nothing is said.", 0, 0},
     TakeKeepNavigation},
    {{"threads", "auto|NUMBER", "How many threads make the book; it is the same with any.", 0, 0},
     TakeThreads},
};

}  // namespace

Status SetOption(JobOptions& options, std::string_view name, std::string_view value, bool isData) {
  const auto* row =
      std::find_if(std::begin(kOptions), std::end(kOptions),
                   [&](const Row& candidate) { return candidate.shown.name == name; });
  if (row == std::end(kOptions)) {
    return Failure{KAVEPUB_E_ARGUMENT, "There is no option \"" + std::string(name) + "\"."};
  }
  if (isData && row->takeData == nullptr) {
    return Failure{KAVEPUB_E_ARGUMENT, "The option \"" + std::string(name) + "\" takes no file."};
  }
  JobOptions changed = options;
  if (!(isData ? row->takeData : row->take)(changed, value)) {
    return Failure{KAVEPUB_E_ARGUMENT, "\"" + std::string(value) + "\" cannot be the " +
                                           std::string(name) + "; it can be " + row->shown.values +
                                           "."};
  }
  options = std::move(changed);
  return Done();
}

const kavepub_option* OptionAt(size_t index) {
  return index < std::size(kOptions) ? &kOptions[index].shown : nullptr;
}
