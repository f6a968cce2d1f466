// What hosts can choose for a book, by name.
#ifndef KAVEPUB_JOB_OPTIONS_H
#define KAVEPUB_JOB_OPTIONS_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "edition/book/document.h"
#include "edition/book/metadata.h"
#include "edition/book/source.h"

struct JobOptions {
  Metadata metadata;  // in the place of what the inputs say
  SourceOptions source;

  enum class Cover { kAuto, kNone, kGiven };
  Cover cover = Cover::kAuto;
  std::string coverPath;  // of a given one, where it does not come as bytes
  std::optional<std::string> coverBytes;
  std::string stylePath;  // likewise
  std::optional<std::string> styleBytes;

  unsigned threads = 0;  // as many as the system runs at once
};

// Sets one by its name. Of those that take a file, only `isData` tells whether the value is its
// path or its content.
Status SetOption(JobOptions& options, std::string_view name, std::string_view value, bool isData);

// Null past the last one.
const kavepub_option* OptionAt(size_t index);

#endif
