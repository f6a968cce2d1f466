// Feeds texts to the engine, sixty lines a page.
#include "kavepub/text_book.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "kavepub/failure.h"
#include "kavepub/interruption.h"

namespace {

constexpr int kLinesPerPage = 60;
constexpr size_t kLongestLine = 254;
constexpr size_t kMostAdded = 3;  // blanks that make a line a paragraph, or end a piece of it
constexpr std::string_view kBullets[] = {"\xE2\x80\xA2", "\xEF\x81\xAE"};  // U+2022, U+F06E

// A text, read in lines of bounded length, while the progress is shown.
class LineReader {
 public:
  LineReader(const std::filesystem::path& path, Progress& shown)
      : text(path),
        progress(shown),
        file(std::fopen(path.c_str(), "re"), &std::fclose),
        size(static_cast<double>(std::filesystem::file_size(path))) {
    if (!file) throw Failure(text, std::generic_category().message(errno));
  }

  // Reads up to a line feed or to `room` bytes. NUL bytes, which no book can hold, are left out.
  // False at the end of the file.
  bool Next(std::string& line, size_t room) {
    line.clear();
    for (size_t taken = 0; taken < room; ++taken) {
      const int c = getc_unlocked(file.get());
      if (c == EOF) return taken > 0 || CheckEnd();
      if (c != '\0') line += static_cast<char>(c);
      if (c == '\n') break;
    }
    return true;
  }

  // Passes over blanks; true when there were any.
  bool SkipBlanks() {
    int c = getc_unlocked(file.get());
    const bool wereAny = c == ' ';
    while (c == ' ') c = getc_unlocked(file.get());
    std::ungetc(c, file.get());
    return wereAny;
  }

  void ShowProgress() {
    progress.Show(static_cast<double>(std::ftell(file.get())) / size);
    StopIfInterrupted();
  }

 private:
  bool CheckEnd() const {
    if (std::ferror(file.get()) == 0) return false;
    throw Failure(text, "cannot be read to its end; check the disk");
  }

  const std::filesystem::path& text;
  Progress& progress;
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file;
  double size;
};

// Gives lines to the engine and begins a page for every sixty.
class PageWriter {
 public:
  PageWriter(const TEpubService& record, const std::filesystem::path& path, LineReader& reader)
      : service(record), text(path), lines(reader) {
    Require(service.StartPage(service.data), text);
  }

  bool IsAtPageStart() const { return onPage == 0 || onPage == kLinesPerPage; }

  void Add(const std::string& line) {
    if (onPage == kLinesPerPage) {
      Require(service.EndPage(service.data), text);
      Require(service.StartPage(service.data), text);
      onPage = 0;
      lines.ShowProgress();
    }
    Require(service.AddTextLineToPage(service.data, line.c_str()), text);
    ++onPage;
  }

  void Finish() { Require(service.EndPage(service.data), text); }

 private:
  const TEpubService& service;
  const std::filesystem::path& text;
  LineReader& lines;
  int onPage = 0;
};

bool IsBlank(std::string_view line) {
  return line.find_first_not_of(" \n") == std::string_view::npos;
}

// What the engine takes for indentation: blanks and bullets count one each.
int Indentation(std::string_view line) {
  int count = 0;
  for (;; ++count) {
    if (line.starts_with(' ')) {
      line.remove_prefix(1);
    } else if (line.starts_with(kBullets[0]) || line.starts_with(kBullets[1])) {
      line.remove_prefix(kBullets[0].size());
    } else {
      return count;
    }
  }
}

// Makes each line a paragraph. The engine begins one wherever the indentation becomes another one
// above zero, so every line gets a blank or two more than its own, which readers do not show.
class ParagraphWriter {
 public:
  explicit ParagraphWriter(PageWriter& writer) : pages(writer) {}

  void Begin(std::string line) {
    line.erase(0, line.find_first_not_of(' '));
    const int indentation = Indentation(line);
    const bool isFirst = pages.IsAtPageStart();  // begins a paragraph by itself
    const int added = isFirst ? 0 : indentation + 1 == lastIndentation ? 2 : 1;
    line.insert(0, static_cast<size_t>(added), ' ');
    lastIndentation = indentation + added;
    Add(std::move(line));
  }

  void Continue(std::string piece) {
    lastIndentation = Indentation(piece);
    Add(std::move(piece));
  }

 private:
  // Three blanks in a row would begin a paragraph, too; readers show them as one.
  void Add(std::string line) {
    const auto isGap = [](char left, char right) { return left == ' ' && right == ' '; };
    const size_t text = line.find_first_not_of(' ');
    line.erase(std::unique(line.begin() + static_cast<long>(text), line.end(), isGap), line.end());
    pages.Add(line);
  }

  PageWriter& pages;
  int lastIndentation = 0;
};

}  // namespace

void AddWrappedText(const TEpubService& service, const std::filesystem::path& text,
                    Progress& progress) {
  LineReader lines(text, progress);
  PageWriter pages(service, text, lines);
  for (std::string line; lines.Next(line, kLongestLine);) pages.Add(line);
  pages.Finish();
}

void AddTextOfParagraphs(const TEpubService& service, const std::filesystem::path& text,
                         Progress& progress) {
  LineReader lines(text, progress);
  PageWriter pages(service, text, lines);
  ParagraphWriter paragraphs(pages);
  bool isInside = false;
  for (std::string line; lines.Next(line, kLongestLine - kMostAdded);) {
    const bool isLineEnd = line.ends_with('\n');
    // A piece that began with a blank would count as indented.
    if (!isLineEnd && lines.SkipBlanks()) line += ' ';
    if (isInside) {
      paragraphs.Continue(line);
    } else if (!IsBlank(line)) {
      paragraphs.Begin(line);
    }
    isInside = !isLineEnd && (isInside || !IsBlank(line));
  }
  pages.Finish();
}
