// Examines a text as a whole before it is handed out.
#include "edition/text/text_file.h"

#include <algorithm>
#include <string>
#include <utility>

#include "base/utf8.h"
#include "edition/text/line_widths.h"

Status TextFile::Open(Input source, const SourceOptions& chosen) {
  input = std::move(source);
  options = chosen;
  text.emplace(*input, options);
  if (Status status = text->Open(run); !status) return status;
  if (Status status = Examine(); !status) return status;
  Status status = text->Restart();
  isReadable = static_cast<bool>(status);
  return status;
}

Status TextFile::Examine() {
  LineWidths widths;
  while (!text->IsReady() || !text->HoldsText() || !widths.IsEnough()) {
    const Result<std::string_view> next = text->Next();
    if (!next) return next.Why();
    if (next->empty()) break;
    widths.Feed(*next);
  }
  run.Tell("paragraphs", widths.LinesAreParagraphs() ? "line" : "wrapped");
  run.Tell("replaced", std::to_string(text->Replaced()));
  return text->Tell(run);
}

Result<size_t> TextFile::Read(char* target, size_t capacity) {
  if (!isReadable) return Failure{KAVEPUB_E_ORDER, "No text is open."};
  if (piece.empty()) {
    const Result<std::string_view> next = text->Next();
    if (!next) return next.Why();
    piece = *next;
  }
  std::string_view part = piece.substr(0, capacity);
  part.remove_suffix(UnfinishedUtf8Tail(part));
  std::copy(part.begin(), part.end(), target);
  piece.remove_prefix(part.size());
  return part.size();
}

const char* TextFile::Fact(std::string_view key) const {
  const auto fact = run.facts.find(std::string(key));
  return fact == run.facts.end() ? nullptr : fact->second.c_str();
}
