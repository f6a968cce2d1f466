// Feeds texts to the engine, sixty lines a page.
#include "hosts/kavepub/work/text_book.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "hosts/kavepub/console/failure.h"
#include "hosts/kavepub/console/interruption.h"

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
    if (!file) throw Failure(text, std::generic_category().message(errno), Cause::kMachine);
  }

  // Reads up to a line feed or to `room` bytes. NUL bytes, which no book can hold, are left out.
  // False at the end of the file.
  bool Next(std::string& line, size_t room) {
    line.clear();
    const size_t wanted = room;
    for (bool isLineEnd = false; room > 0 && !isLineEnd;) {
      if (unread.empty() && !Fill()) return room < wanted;
      const std::string_view window = unread.substr(0, room);
      const size_t lineFeed = window.find('\n');
      isLineEnd = lineFeed != std::string_view::npos;
      const std::string_view piece = isLineEnd ? window.substr(0, lineFeed + 1) : window;
      line += piece;
      if (piece.find('\0') != std::string_view::npos) std::erase(line, '\0');
      room -= piece.size();
      unread.remove_prefix(piece.size());
    }
    return true;
  }

  // The next byte, or EOF.
  int Get() {
    while (!unread.empty() || Fill()) {
      const char c = unread.front();
      unread.remove_prefix(1);
      if (c != '\0') return static_cast<unsigned char>(c);
    }
    return EOF;
  }

  void ShowProgress() {
    progress.Show(static_cast<double>(taken - unread.size()) / size);
    StopIfInterrupted();
  }

 private:
  bool Fill() {
    const size_t count = std::fread(buffer.data(), 1, buffer.size(), file.get());
    if (std::ferror(file.get()) != 0) {
      throw Failure(text, "cannot be read to its end; check the disk", Cause::kMachine);
    }
    unread = {buffer.data(), count};
    taken += count;
    return count > 0;
  }

  const std::filesystem::path& text;
  Progress& progress;
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file;
  double size;
  std::array<char, 1 << 16> buffer;
  std::string_view unread;
  size_t taken = 0;  // from the file
};

// Gives lines to the engine and begins a page for every sixty.
class PageFiller {
 public:
  PageFiller(const Service& record, const std::filesystem::path& path, LineReader& reader)
      : service(record), text(path), lines(reader) {
    service.Require(service->StartPage(service->data), text);
  }

  bool IsAtPageStart() const { return onPage == 0 || onPage == kLinesPerPage; }

  void Add(const std::string& line) {
    if (onPage == kLinesPerPage) {
      service.Require(service->EndPage(service->data), text);
      service.Require(service->StartPage(service->data), text);
      onPage = 0;
      lines.ShowProgress();
    }
    service.Require(service->AddTextLineToPage(service->data, line.c_str()), text);
    ++onPage;
  }

  void Finish() { service.Require(service->EndPage(service->data), text); }

 private:
  const Service& service;
  const std::filesystem::path& text;
  LineReader& lines;
  int onPage = 0;
};

// Blanks of any script, as they stand alone on lines that shall look empty.
bool IsBlank(std::string_view line) {
  constexpr std::string_view kBlanks[] = {" ",  "\n",       "\t",           "\f",
                                          "\v", "\xC2\xA0", "\xE3\x80\x80", "\xEF\xBB\xBF"};
  while (!line.empty()) {
    const auto* blank =
        std::find_if(std::begin(kBlanks), std::end(kBlanks),
                     [&](std::string_view candidate) { return line.starts_with(candidate); });
    if (blank == std::end(kBlanks)) return false;
    line.remove_prefix(blank->size());
  }
  return true;
}

bool BeginsWithBullet(std::string_view text) {
  return text.starts_with(kBullets[0]) || text.starts_with(kBullets[1]);
}

// What the engine takes for indentation: blanks and bullets count one each.
int Indentation(std::string_view line) {
  int count = 0;
  for (;; ++count) {
    if (line.starts_with(' ')) {
      line.remove_prefix(1);
    } else if (BeginsWithBullet(line)) {
      line.remove_prefix(kBullets[0].size());
    } else {
      return count;
    }
  }
}

// Cuts long lines into pieces that the engine joins again. It would begin a paragraph at a piece
// that begins with a blank or a bullet, after a gap of three blanks (readers show one) and after a
// piece much shorter than the one before.
class PieceReader {
 public:
  explicit PieceReader(LineReader& reader) : lines(reader) {}

  // False at the end of the text.
  bool Next(std::string& piece) {
    piece = std::exchange(rest, {});
    isLineEnd = false;
    while (piece.size() < kLongestLine - kMostAdded) {
      const int c = lines.Get();
      if (c == EOF) return !piece.empty();
      const bool isGap = c == ' ' && piece.ends_with(' ');
      if (!isGap) piece += static_cast<char>(c);
      isLineEnd = c == '\n';
      if (isLineEnd) return true;
    }
    const size_t cut = FindCut(piece);
    rest = piece.substr(cut);
    piece.resize(cut);
    return true;
  }

  bool IsLineEnd() const { return isLineEnd; }

 private:
  static constexpr size_t kMostGivenBack = 32;  // bytes; more would make the piece a short one

  // The last place before a whole character that may begin a piece.
  static size_t FindCut(std::string_view piece) {
    for (size_t cut = piece.size() - 1; cut + kMostGivenBack > piece.size(); --cut) {
      const bool isWhole = (static_cast<unsigned char>(piece[cut]) & 0xC0) != 0x80;
      if (isWhole && piece[cut] != ' ' && !BeginsWithBullet(piece.substr(cut))) return cut;
    }
    return piece.size() - 1;
  }

  LineReader& lines;
  std::string rest;
  bool isLineEnd = false;
};

// Makes each line a paragraph. The engine begins one wherever the indentation becomes another one
// above zero, so every line gets a blank or two more than its own, which readers do not show.
class ParagraphWriter {
 public:
  explicit ParagraphWriter(PageFiller& filler) : pages(filler) {}

  void Begin(std::string line) {
    line.erase(0, line.find_first_not_of(' '));
    // The first line of a page begins a paragraph by itself.
    if (pages.IsAtPageStart()) {
      Continue(std::move(line));
      return;
    }
    const int indentation = Indentation(line);
    const int added = indentation + 1 == lastIndentation ? 2 : 1;
    line.insert(0, static_cast<size_t>(added), ' ');
    lastIndentation = indentation + added;
    pages.Add(line);
  }

  // A form feed comes out as a blank, but is no indentation.
  void Continue(std::string piece) {
    if (Indentation(piece) > 0) piece.insert(0, 1, '\f');
    lastIndentation = 0;
    pages.Add(piece);
  }

 private:
  PageFiller& pages;
  int lastIndentation = 0;
};

}  // namespace

void AddWrappedText(const Service& service, const std::filesystem::path& text, Progress& progress) {
  LineReader lines(text, progress);
  PageFiller pages(service, text, lines);
  for (std::string line; lines.Next(line, kLongestLine);) pages.Add(line);
  pages.Finish();
}

void AddTextOfParagraphs(const Service& service, const std::filesystem::path& text,
                         Progress& progress) {
  LineReader lines(text, progress);
  PageFiller pages(service, text, lines);
  ParagraphWriter paragraphs(pages);
  PieceReader pieces(lines);
  bool isInside = false;
  for (std::string piece; pieces.Next(piece);) {
    const bool isBlank = IsBlank(piece);
    if (isInside) {
      paragraphs.Continue(piece);
    } else if (!isBlank) {
      paragraphs.Begin(piece);
    }
    isInside = !pieces.IsLineEnd() && (isInside || !isBlank);
  }
  pages.Finish();
}
