// A text that a host reads by itself: its characters, and what is known of it.
#ifndef KAVEPUB_TEXT_TEXT_FILE_H
#define KAVEPUB_TEXT_TEXT_FILE_H

#include <optional>
#include <string_view>

#include "edition/book/input.h"
#include "edition/book/run.h"
#include "edition/book/source.h"
#include "edition/text/text_input.h"

class TextFile {
 public:
  bool WasOpened() const { return input.has_value(); }

  // Once. Reads all of it, so that reading it again needs no second look at what is damaged.
  Status Open(Input source, const SourceOptions& chosen);

  // Whole characters, as many as fit; 0 at the end.
  Result<size_t> Read(char* target, size_t capacity);

  // Null for what is not known.
  const char* Fact(std::string_view key) const;
  const std::vector<Warning>& Warnings() const { return run.warnings; }

 private:
  Status Examine();

  std::optional<Input> input;
  SourceOptions options;
  std::optional<TextInput> text;
  bool isReadable = false;
  std::string_view piece;  // what of the last one was not handed out
  Run run;
};

#endif
