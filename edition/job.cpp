// The steps of a job: open the inputs, find their source, and lead the book from it to its place.
#include "edition/job.h"

#include <algorithm>
#include <iterator>
#include <thread>
#include <utility>

#include "base/read_file.h"
#include "base/text_gate.h"
#include "edition/book_output.h"
#include "edition/drawn_cover.h"
#include "edition/epub/epub_writer.h"
#include "edition/html/html_book.h"
#include "edition/input_kind.h"
#include "edition/palm_book.h"
#include "edition/pictures/album.h"
#include "edition/text/text_book.h"

namespace {

constexpr struct {
  InputKind kind;
  Source source;
} kSources[] = {
    {InputKind::kText, MakeTextBook},     {InputKind::kHtml, MakeHtmlBook},
    {InputKind::kMobi, MakePalmBook},     {InputKind::kPictures, MakeAlbum},
    {InputKind::kMarkdown, MakeHtmlBook},
};

constexpr char kNoCover[] =
    "The book has no cover: one can only be drawn with libkavepub-cover, with fonts installed and "
    "with enough memory.";

constexpr unsigned kMostAutomaticThreads = 16;
constexpr size_t kMostOpen = 16;  // inputs at a time

Source SourceOf(InputKind kind) {
  return std::find_if(std::begin(kSources), std::end(kSources),
                      [&](const auto& candidate) { return candidate.kind == kind; })
      ->source;
}

unsigned ThreadsOf(const JobOptions& options) {
  if (options.threads != 0) return options.threads;
  return std::clamp(std::thread::hardware_concurrency(), 1U, kMostAutomaticThreads);
}

// "novel" of "dir/novel.txt".
std::string TitleOf(const Input& input) {
  const std::string& path = input.Name();
  const std::string name = path.substr(path.rfind('/') + 1);
  const size_t dot = name.rfind('.');
  return dot == 0 ? name : name.substr(0, dot);
}

// The content of a file that the host chose, where it did not give that itself.
Result<std::string> ContentOf(const std::optional<std::string>& bytes, const std::string& path) {
  if (bytes) return *bytes;
  std::optional<std::string> content = ReadRegularFile(path.c_str());
  if (!content) return Failure{KAVEPUB_E_INPUT, path + ": cannot be read as a file."};
  return std::move(*content);
}

Result<std::string> StyleSheetOf(const JobOptions& options) {
  constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
  if (!options.styleBytes && options.stylePath.empty()) return std::string();
  Result<std::string> sheet = ContentOf(options.styleBytes, options.stylePath);
  if (!sheet) return sheet;
  if (sheet->starts_with(kByteOrderMark)) sheet->erase(0, kByteOrderMark.size());
  const std::string name = options.styleBytes ? "The style sheet" : options.stylePath;
  if (ToXmlCharacters(*sheet) != *sheet) {
    return Failure{KAVEPUB_E_FORMAT, name + " is not in UTF-8."};
  }
  for (const char* foreign : {"@import", "@charset", "url("}) {
    if (sheet->find(foreign) == std::string::npos) continue;
    return Failure{KAVEPUB_E_FORMAT,
                   name + " has \"" + foreign + "\", but a style sheet has to stand alone here."};
  }
  return sheet;
}

Result<EpubOptions> WriterOptions(const JobOptions& options) {
  EpubOptions chosen;
  chosen.threads = ThreadsOf(options);
  Result<std::string> sheet = StyleSheetOf(options);
  if (!sheet) return sheet.Why();
  chosen.styleSheet = std::move(*sheet);
  chosen.wantsCover = options.cover != JobOptions::Cover::kNone;
  if (options.cover == JobOptions::Cover::kGiven) {
    Result<std::string> picture = ContentOf(options.coverBytes, options.coverPath);
    if (!picture) return picture.Why();
    chosen.cover = Resource{options.coverPath, "", std::move(*picture)};
  }
  return chosen;
}

}  // namespace

const char* KindAt(size_t index) {
  return index < std::size(kSources) ? NameOf(kSources[index].kind) : nullptr;
}

Status Job::AddPath(const char* path) {
  if (path == nullptr || *path == '\0') return Failure{KAVEPUB_E_ARGUMENT, "A path is empty."};
  if (Status open = MustBeOpen(); !open) return open;
  pending.push_back({path, std::nullopt});
  return Done();
}

Status Job::AddMemory(const char* name, std::string_view bytes) {
  if (name == nullptr || (bytes.data() == nullptr && !bytes.empty())) {
    return Failure{KAVEPUB_E_ARGUMENT, "An input has no name or no bytes."};
  }
  if (Status open = MustBeOpen(); !open) return open;
  pending.push_back({name, bytes});
  return Done();
}

Status Job::Set(std::string_view name, std::string_view value, bool isData) {
  if (Status open = MustBeOpen(); !open) return open;
  return SetOption(options, name, value, isData);
}

Status Job::SetOutput(const char* path) {
  if (path == nullptr || *path == '\0') return Failure{KAVEPUB_E_ARGUMENT, "A path is empty."};
  if (Status open = MustBeOpen(); !open) return open;
  outputPath = path;
  outputCallback = nullptr;
  return Done();
}

Status Job::SetOutput(kavepub_write_callback write, void* user) {
  if (write == nullptr) return Failure{KAVEPUB_E_ARGUMENT, "A callback is null."};
  if (Status open = MustBeOpen(); !open) return open;
  outputPath.clear();
  outputCallback = write;
  outputUser = user;
  return Done();
}

Status Job::SetProgress(kavepub_progress_callback progress, void* user) {
  if (Status open = MustBeOpen(); !open) return open;
  run.progress = nullptr;
  if (progress != nullptr) {
    run.progress = [progress, user](double done) { return progress(user, done) != 0; };
  }
  return Done();
}

Status Job::Examine() {
  if (Status open = MustBeOpen(); !open) return open;
  Status status = Read(nullptr);
  if (run.IsCancelled()) run.Resume();  // for the next one
  return status;
}

Status Job::MakeBook() {
  if (Status open = MustBeOpen(); !open) return open;
  if (outputPath.empty() && outputCallback == nullptr) {
    return Failure{KAVEPUB_E_ORDER, "The book has no place to go to: set an output first."};
  }
  hasRun = true;
  if (outputCallback != nullptr) {
    CallbackOutput output(outputCallback, outputUser);
    return WriteTo(output);
  }
  FileOutput output(outputPath);
  if (Status status = output.Open(); !status) return status;
  if (Status status = WriteTo(output); !status) return status;
  return output.Commit();
}

Status Job::MustBeOpen() const {
  if (!hasRun) return Done();
  return Failure{KAVEPUB_E_ORDER, "The job has run; make a new one for another book."};
}

Status Job::WriteTo(Output& output) {
  Result<EpubOptions> chosen = WriterOptions(options);
  if (!chosen) return chosen.Why();
  chosen->drawCover = [this](const Metadata& metadata) {
    std::optional<Resource> cover = DrawnCover(metadata);
    if (!cover) run.Warn({kNoCover, ""});
    return cover;
  };
  EpubWriter writer(std::move(*chosen), output);
  if (Status status = Read(&writer); !status) return status;
  report.facts["identifier"] = writer.BookIdentifier();
  report.facts["pages"] = std::to_string(writer.Pages());
  report.facts["bytes"] = std::to_string(writer.Size());
  return run.Advance(1);
}

// Leads the book from its source to a writer, or past the report only.
Status Job::Read(BookSink* writer) {
  report = {};
  run.Begin();
  const Result<std::vector<Input>> inputs = OpenInputs();
  if (!inputs) return inputs.Why();
  const Input& first = inputs->front();
  const Result<InputKind> kind = KindOf(first);
  if (!kind) return kind.Why();
  report.facts["kind"] = NameOf(*kind);
  const Source make = SourceOf(*kind);

  SourceOptions chosen = options.source;
  chosen.threads = ThreadsOf(options);
  ReportingSink sink(report, writer, options.metadata, TitleOf(first));
  Status status = make(*inputs, chosen, sink, run);
  report.facts.merge(run.facts);
  report.warnings = std::move(run.warnings);
  return status;
}

Result<std::vector<Input>> Job::OpenInputs() const {
  if (pending.empty()) return Failure{KAVEPUB_E_ORDER, "There is nothing to make a book of."};
  std::vector<Input> inputs;
  for (const PendingInput& input : pending) {
    if (input.bytes) {
      inputs.push_back(Input::OfMemory(input.name, *input.bytes));
      continue;
    }
    Result<Input> opened = Input::Open(input.name);
    if (!opened) return opened.Why();
    inputs.push_back(std::move(*opened));
    if (inputs.size() > kMostOpen) inputs.back().Close();
  }
  return inputs;
}
