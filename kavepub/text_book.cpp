// Feeds a text to the engine, sixty lines a page.
#include "kavepub/text_book.h"

#include <cerrno>
#include <cstdio>
#include <memory>
#include <string>
#include <system_error>

#include "kavepub/failure.h"
#include "kavepub/interruption.h"

namespace {

constexpr int kLinesPerPage = 60;
constexpr size_t kLongestLine = 254;

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

// Reads up to a line feed or to the longest line. NUL bytes, which no book can hold, are left out.
// False at the end of the file.
bool ReadLine(std::FILE* file, std::string& line) {
  line.clear();
  for (size_t taken = 0; taken < kLongestLine; ++taken) {
    const int c = getc_unlocked(file);
    if (c == EOF) return taken > 0;
    if (c != '\0') line += static_cast<char>(c);
    if (c == '\n') break;
  }
  return true;
}

}  // namespace

void AddTextPages(const TEpubService& service, const std::filesystem::path& text,
                  ProgressBar& progress) {
  const std::unique_ptr<std::FILE, CloseFile> file(std::fopen(text.c_str(), "re"));
  if (!file) throw Failure(text, std::generic_category().message(errno));
  const auto size = static_cast<double>(std::filesystem::file_size(text));

  Require(service.StartPage(service.data), text);
  std::string line;
  for (int onPage = 0; ReadLine(file.get(), line); ++onPage) {
    if (onPage == kLinesPerPage) {
      Require(service.EndPage(service.data), text);
      Require(service.StartPage(service.data), text);
      onPage = 0;
      progress.Show(static_cast<double>(std::ftell(file.get())) / size);
      StopIfInterrupted();
    }
    Require(service.AddTextLineToPage(service.data, line.c_str()), text);
  }
  if (std::ferror(file.get()) != 0)
    throw Failure(text, "cannot be read to its end; check the disk");
  Require(service.EndPage(service.data), text);
}
