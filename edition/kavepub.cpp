// The C interface: the one place where failures become codes and exceptions end.
#include "edition/kavepub.h"

#include "edition/handle.h"
#include "edition/job.h"
#include "edition/job_options.h"
#include "edition/text/text_file.h"

#define KAVEPUB_TEXT_OF(number) KAVEPUB_DIGITS_OF(number)
#define KAVEPUB_DIGITS_OF(number) #number

struct kavepub_job : Words {
  Job job;
};

struct kavepub_text : Words {
  JobOptions options;
  TextFile file;
};

namespace {

constexpr size_t kLeastCapacity = 8;  // of a buffer for characters

int HandOne(const std::vector<Warning>& warnings, size_t index, kavepub_warning* target,
            size_t size) {
  if (index >= warnings.size()) return 0;
  const Warning& found = warnings[index];
  return Hand(kavepub_warning{found.message.c_str(), found.place.c_str()}, target, size);
}

Status MustBeClosed(const kavepub_text& text) {
  if (!text.file.WasOpened()) return Done();
  return Failure{KAVEPUB_E_ORDER, "A text was opened before; make a new handle for another one."};
}

}  // namespace

const char* kavepub_version(void) {
  return KAVEPUB_TEXT_OF(KAVEPUB_VERSION_MAJOR) "." KAVEPUB_TEXT_OF(
      KAVEPUB_VERSION_MINOR) "." KAVEPUB_TEXT_OF(KAVEPUB_VERSION_PATCH);
}

uint32_t kavepub_version_number(void) {
  return KAVEPUB_VERSION_NUMBER;
}

int kavepub_option_at(size_t index, kavepub_option* option, size_t size) {
  const kavepub_option* known = OptionAt(index);
  return known == nullptr ? 0 : Hand(*known, option, size);
}

const char* kavepub_kind_at(size_t index) {
  return KindAt(index);
}

kavepub_job* kavepub_job_new(void) {
  try {
    return new kavepub_job;
  } catch (...) {
    return nullptr;
  }
}

void kavepub_job_free(kavepub_job* job) {
  delete job;
}

int kavepub_job_add_path(kavepub_job* job, const char* path) {
  return Do(job, [&] { return job->job.AddPath(path); });
}

int kavepub_job_add_memory(kavepub_job* job, const char* name, const void* bytes, size_t size) {
  return Do(job, [&] { return job->job.AddMemory(name, Bytes(bytes, size)); });
}

int kavepub_job_set_option(kavepub_job* job, const char* name, const char* value) {
  return Do(job, [&]() -> Status {
    if (name == nullptr || value == nullptr) return Failure{KAVEPUB_E_ARGUMENT, kNull};
    return job->job.Set(name, value, false);
  });
}

int kavepub_job_set_option_data(kavepub_job* job, const char* name, const void* bytes,
                                size_t size) {
  return Do(job, [&]() -> Status {
    if (name == nullptr || bytes == nullptr) return Failure{KAVEPUB_E_ARGUMENT, kNull};
    return job->job.Set(name, Bytes(bytes, size), true);
  });
}

int kavepub_job_set_output_path(kavepub_job* job, const char* path) {
  return Do(job, [&] { return job->job.SetOutput(path); });
}

int kavepub_job_set_output_callback(kavepub_job* job, kavepub_write_callback write, void* user) {
  return Do(job, [&] { return job->job.SetOutput(write, user); });
}

int kavepub_job_set_progress(kavepub_job* job, kavepub_progress_callback progress, void* user) {
  return Do(job, [&] { return job->job.SetProgress(progress, user); });
}

int kavepub_job_run(kavepub_job* job) {
  return Do(job, [&] { return job->job.MakeBook(); });
}

int kavepub_job_examine(kavepub_job* job) {
  return Do(job, [&] { return job->job.Examine(); });
}

void kavepub_job_cancel(kavepub_job* job) {
  if (job != nullptr) job->job.Cancel();
}

const char* kavepub_job_error(const kavepub_job* job) {
  return job == nullptr ? kNull : job->error;
}

const char* kavepub_job_report(const kavepub_job* job, const char* key) {
  if (job == nullptr || key == nullptr) return nullptr;
  const auto& facts = job->job.Found().facts;
  const auto fact = facts.find(std::string_view(key));
  return fact == facts.end() ? nullptr : fact->second.c_str();
}

int kavepub_job_chapter(const kavepub_job* job, size_t index, kavepub_chapter* chapter,
                        size_t size) {
  if (job == nullptr || index >= job->job.Found().chapters.size()) return 0;
  const Report::Chapter& found = job->job.Found().chapters[index];
  return Hand({found.title.c_str(), found.level, found.line}, chapter, size);
}

int kavepub_job_warning(const kavepub_job* job, size_t index, kavepub_warning* warning,
                        size_t size) {
  return job == nullptr ? 0 : HandOne(job->job.Found().warnings, index, warning, size);
}

kavepub_text* kavepub_text_new(void) {
  try {
    return new kavepub_text;
  } catch (...) {
    return nullptr;
  }
}

void kavepub_text_free(kavepub_text* text) {
  delete text;
}

int kavepub_text_set_option(kavepub_text* text, const char* name, const char* value) {
  return Do(text, [&]() -> Status {
    if (name == nullptr || value == nullptr) return Failure{KAVEPUB_E_ARGUMENT, kNull};
    if (Status open = MustBeClosed(*text); !open) return open;
    const std::string_view option = name;
    if (option != "encoding" && option != "encoding-errors") {
      return Failure{KAVEPUB_E_ARGUMENT, "A text has no option \"" + std::string(name) + "\"."};
    }
    return SetOption(text->options, option, value, false);
  });
}

int kavepub_text_open_path(kavepub_text* text, const char* path) {
  return Do(text, [&]() -> Status {
    if (path == nullptr) return Failure{KAVEPUB_E_ARGUMENT, kNull};
    if (Status open = MustBeClosed(*text); !open) return open;
    Result<Input> input = Input::Open(path);
    if (!input) return input.Why();
    return text->file.Open(std::move(*input), text->options.source);
  });
}

int kavepub_text_open_memory(kavepub_text* text, const char* name, const void* bytes, size_t size) {
  return Do(text, [&]() -> Status {
    if (name == nullptr || (bytes == nullptr && size > 0)) {
      return Failure{KAVEPUB_E_ARGUMENT, kNull};
    }
    if (Status open = MustBeClosed(*text); !open) return open;
    return text->file.Open(Input::OfMemory(name, Bytes(bytes, size)), text->options.source);
  });
}

int kavepub_text_read(kavepub_text* text, char* buffer, size_t capacity, size_t* size) {
  return Do(text, [&]() -> Status {
    if (buffer == nullptr || size == nullptr || capacity < kLeastCapacity) {
      return Failure{KAVEPUB_E_ARGUMENT, "The buffer is null or too small."};
    }
    *size = 0;
    const Result<size_t> count = text->file.Read(buffer, capacity);
    if (!count) return count.Why();
    *size = *count;
    return Done();
  });
}

const char* kavepub_text_report(const kavepub_text* text, const char* key) {
  return text == nullptr || key == nullptr ? nullptr : text->file.Fact(key);
}

int kavepub_text_warning(const kavepub_text* text, size_t index, kavepub_warning* warning,
                         size_t size) {
  return text == nullptr ? 0 : HandOne(text->file.Warnings(), index, warning, size);
}

const char* kavepub_text_error(const kavepub_text* text) {
  return text == nullptr ? kNull : text->error;
}
