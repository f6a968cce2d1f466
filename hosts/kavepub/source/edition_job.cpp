// Calls the C interface of the library, and turns its codes into failures.
#include "hosts/kavepub/source/edition_job.h"

#include <strings.h>

#include <algorithm>
#include <new>
#include <sstream>

#include "hosts/kavepub/console/interruption.h"

namespace {

constexpr const char* kFacts[] = {"kind",     "title",      "authors",    "language",
                                  "encoding", "paragraphs", "identifier", "documents",
                                  "pages",    "pictures",   "bytes"};

constexpr char kKnownEncodings[] = "; `iconv -l` lists the names that are known";

int OnProgress(void* user, double done) {
  (*static_cast<const EditionJob::Listener*>(user))(done);
  return WasInterrupted() ? 1 : 0;
}

int OnBytes(void* user, const void* bytes, size_t size) {
  const auto& taker = *static_cast<const EditionJob::Taker*>(user);
  return taker({static_cast<const char*>(bytes), size}) ? 0 : 1;
}

}  // namespace

std::vector<kavepub_option> KnownEditionOptions() {
  std::vector<kavepub_option> options;
  kavepub_option option = {};
  while (kavepub_option_at(options.size(), &option, sizeof option) != 0) options.push_back(option);
  return options;
}

std::filesystem::path FileOf(const std::string& name, const std::string& value) {
  for (const kavepub_option& option : KnownEditionOptions()) {
    if (option.name != name || option.takes_file == 0) continue;
    std::istringstream words(option.values);
    for (std::string word; std::getline(words, word, '|');) {
      if (word == value) return {};
    }
    return value;
  }
  return {};
}

bool EditionReads(const char* kind) {
  const char* known = nullptr;
  for (size_t i = 0; (known = kavepub_kind_at(i)) != nullptr; ++i) {
    if (strcasecmp(known, kind) == 0) return true;
  }
  return false;
}

std::string BookReport::Fact(std::string_view name) const {
  const auto fact = std::find_if(facts.begin(), facts.end(),
                                 [&](const auto& candidate) { return candidate.first == name; });
  return fact == facts.end() ? std::string() : fact->second;
}

void RequireEdition(int code, std::string words, const char* advice) {
  if (code == KAVEPUB_OK) return;
  if (code == KAVEPUB_CANCELLED) throw Interrupted();
  if (code == KAVEPUB_E_MEMORY) throw std::bad_alloc();
  if (words.ends_with('.')) words.pop_back();
  words += advice;
  if (code == KAVEPUB_E_ARGUMENT) throw WrongUsage(words);
  if (code == KAVEPUB_E_UNSUPPORTED) throw Unsupported(words);
  const Cause cause = code == KAVEPUB_E_INPUT    ? Cause::kMachine
                      : code == KAVEPUB_E_OUTPUT ? Cause::kDisk
                                                 : Cause::kBook;
  throw Failure(words, cause);
}

EditionJob::EditionJob(const EditionOptions& options) : job(kavepub_job_new()) {
  if (!job) throw std::bad_alloc();
  for (const auto& [name, value] : options) {
    const int code = kavepub_job_set_option(job.get(), name.c_str(), value.c_str());
    const bool isUnknown = code == KAVEPUB_E_ARGUMENT && name == "encoding";
    Require(code, isUnknown ? kKnownEncodings : "");
  }
}

void EditionJob::Add(const std::filesystem::path& input) {
  Require(kavepub_job_add_path(job.get(), input.c_str()));
}

void EditionJob::AddStandardInput(const std::string& name, std::string_view bytes) {
  nameOfStandardInput = name;
  Require(kavepub_job_add_memory(job.get(), name.c_str(), bytes.data(), bytes.size()));
}

BookReport EditionJob::Run(const Taker& taker, const Listener& listener) {
  Listen(listener);
  Require(kavepub_job_set_output_callback(job.get(), OnBytes, const_cast<Taker*>(&taker)));
  Require(kavepub_job_run(job.get()));
  return Report();
}

BookReport EditionJob::Examine(const Listener& listener) {
  Listen(listener);
  Require(kavepub_job_examine(job.get()));
  return Report();
}

void EditionJob::Require(int code, const char* advice) const {
  RequireEdition(code, AsNamed(kavepub_job_error(job.get())), advice);
}

void EditionJob::Listen(const Listener& listener) {
  Require(kavepub_job_set_progress(job.get(), OnProgress, const_cast<Listener*>(&listener)));
}

BookReport EditionJob::Report() const {
  BookReport report;
  for (const char* name : kFacts) {
    const char* fact = kavepub_job_report(job.get(), name);
    if (fact != nullptr) report.facts.emplace_back(name, fact);
  }
  kavepub_chapter chapter = {};
  for (size_t i = 0; kavepub_job_chapter(job.get(), i, &chapter, sizeof chapter) != 0; ++i) {
    report.chapters.push_back({chapter.title, chapter.level, chapter.line});
  }
  kavepub_warning warning = {};
  for (size_t i = 0; kavepub_job_warning(job.get(), i, &warning, sizeof warning) != 0; ++i) {
    report.warnings.push_back({OneLine(AsNamed(warning.place)), OneLine(warning.message)});
  }
  return report;
}

// The standard input by the name that people know.
std::string EditionJob::AsNamed(std::string text) const {
  if (!nameOfStandardInput.empty() && text.starts_with(nameOfStandardInput)) {
    text.replace(0, nameOfStandardInput.size(), kStandardInput);
  }
  return text;
}
