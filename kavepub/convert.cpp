// Carries out one order: checks what it names, builds the book in a private directory, packs it.
#include "kavepub/convert.h"

#include "kavepub/cover.h"
#include "kavepub/failure.h"
#include "kavepub/interruption.h"
#include "kavepub/progress_bar.h"
#include "kavepub/service.h"
#include "kavepub/text_book.h"
#include "kavepub/work_dir.h"

namespace {

std::filesystem::path OutputOf(const BookOrder& order) {
  if (!order.output.empty()) return order.output;
  std::filesystem::path output = order.input;
  return output.replace_extension(".epub");
}

void RequireDirectoryOf(const std::filesystem::path& output) {
  const std::filesystem::path directory =
      output.has_parent_path() ? output.parent_path() : std::filesystem::path(".");
  if (!std::filesystem::is_directory(directory)) {
    throw Failure(output, "its directory does not exist; make it first");
  }
}

}  // namespace

std::filesystem::path ConvertBook(const BookOrder& order) {
  RequireReadable(order.input);
  const std::filesystem::path output = OutputOf(order);
  RequireDirectoryOf(output);

  const WorkDir workDir;
  const Service service = NewService();
  ProgressBar progress(order.input.filename().string());
  const std::string title = order.title.value_or(order.input.stem().string());
  Require(
      service->InitEpub(service->data, workDir.Path().c_str(), title.c_str(), order.author.c_str()),
      workDir.Path());
  if (!order.cover.empty()) AddCover(*service, order.cover, workDir.Path());
  AddTextPages(*service, order.input, progress);
  StopIfInterrupted();
  Require(service->GenerateEpub(service->data, output.c_str()), output);
  return output;
}
