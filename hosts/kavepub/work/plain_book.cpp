// Builds books of the plain edition in a private directory and packs them.
#include "hosts/kavepub/work/plain_book.h"

#include <fcntl.h>

#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "base/unique_fd.h"
#include "builder/epub_base.h"
#include "hosts/kavepub/console/failure.h"
#include "hosts/kavepub/console/interruption.h"
#include "hosts/kavepub/plan/input_kind.h"
#include "hosts/kavepub/source/html_metadata.h"
#include "hosts/kavepub/source/text_source.h"
#include "hosts/kavepub/work/pictures.h"
#include "hosts/kavepub/work/plain_options.h"
#include "hosts/kavepub/work/service.h"
#include "hosts/kavepub/work/text_book.h"
#include "hosts/kavepub/work/written.h"

namespace {

// A book in the making, by the engine's record.
class Build {
 public:
  Build(const BookOrder& ordered, const BookOptions& chosen, const std::string& standardInput,
        const std::filesystem::path& directory, Progress& shown)
      : order(ordered),
        options(PlainOptionsOf(chosen.chosen)),
        piped(standardInput),
        progress(shown),
        workDir(directory),
        service(workDir),
        shelf(workDir) {}

  // Where the packed book lies.
  std::filesystem::path Packed() const { return workDir / "book.epub"; }

  Conversion Run() {
    switch (order.kind) {
      case BookKind::kText:
      case BookKind::kMarkdown:
        return MakeOfText();
      case BookKind::kHtml:
        return MakeOfHtml();
      case BookKind::kPictures:
        return MakeOfPictures();
      case BookKind::kMobi:
        return MakeOfMobi();
    }
    return {};
  }

 private:
  void Begin(const std::string& title, const std::string& author) {
    service.Require(
        service->InitEpub(service->data, workDir.c_str(), options.title.value_or(title).c_str(),
                          options.author.value_or(author).c_str()),
        workDir);
    if (options.cover.empty()) return;
    const std::filesystem::path cover = shelf.Place(options.cover);
    service.Require(service->data->epub->AddCoverImageToEpub(cover.c_str()), options.cover);
  }

  void Pack() {
    StopIfInterrupted();
    service.Require(service->GenerateEpub(service->data, Packed().c_str()), order.output);
  }

  // Shows that one more of the inputs is done.
  void ShowDone(size_t done) {
    progress.Show(static_cast<double>(done) / static_cast<double>(order.inputs.size()));
    StopIfInterrupted();
  }

  Conversion MakeOfText() {
    const std::filesystem::path& input = order.inputs.front();
    const bool isPiped = input == kStandardStream;
    if (order.inputs.size() > 1) {
      throw Failure(order.inputs[1], "is joined with others in the reader's edition only");
    }
    if (isPiped && KindOfBytes(kStandardInput, piped) != BookKind::kText) {
      throw Failure(kStandardInput, "is no text; save it to a file and convert that");
    }
    const std::filesystem::path text = workDir / "text.txt";
    const auto memory = isPiped ? std::optional<std::string_view>(piped) : std::nullopt;
    TextSource source = DecodeText(input, memory, options.encoding, options.encodingErrors, text);
    const bool isLineMode =
        options.paragraphs == kAuto ? source.linesAreParagraphs : options.paragraphs == "line";
    Begin(TitleOf(order), "");
    const auto addText = isLineMode ? AddTextOfParagraphs : AddWrappedText;
    addText(service, text, progress);
    Pack();
    return {source.encoding + (isLineMode ? ", one paragraph a line" : ", wrapped lines"),
            std::move(source.warnings)};
  }

  Conversion MakeOfHtml() {
    const std::string encoding = options.encoding == kAuto ? "" : options.encoding;
    const HtmlMetadata metadata = ReadHtmlMetadata(order.inputs.front(), encoding);
    Begin(metadata.title.empty() ? order.inputs.front().stem().string() : metadata.title,
          metadata.author);
    service->data->epub->SetImportEncoding(encoding.c_str());
    for (size_t done = 0; done < order.inputs.size(); ++done) {
      const std::filesystem::path& page = order.inputs[done];
      service.Require(service->AddHtmlToEpub(service->data, page.c_str()), page);
      ShowDone(done + 1);
    }
    Pack();
    return {};
  }

  Conversion MakeOfPictures() {
    Begin(order.output.stem().string(), "");
    for (size_t done = 0; done < order.inputs.size(); ++done) {
      const std::filesystem::path picture = shelf.Place(order.inputs[done]);
      service.Require(service->AddImageToEpub(service->data, picture.c_str()), order.inputs[done]);
      ShowDone(done + 1);
    }
    Pack();
    const size_t count = order.inputs.size();
    return {std::to_string(count) + (count == 1 ? " picture" : " pictures")};
  }

  // The book brings its own title, author and cover; the engine does all in one call.
  Conversion MakeOfMobi() {
    const std::filesystem::path& input = order.inputs.front();
    service.Require(
        service->Mobi2Epub(input.c_str(), Packed().c_str(), workDir.c_str(), this, OnMobiProgress),
        input);
    if (!isMobiDone) throw Interrupted();
    return {};
  }

  static int OnMobiProgress(void* user, int done, int total) {
    constexpr int kCancel = -2;
    auto* build = static_cast<Build*>(user);
    build->isMobiDone = done == total;
    build->progress.Show(static_cast<double>(done) / total);
    return WasInterrupted() ? kCancel : 0;
  }

  const BookOrder& order;
  const PlainOptions options;
  const std::string& piped;
  Progress& progress;
  const std::filesystem::path& workDir;
  const Service service;
  PictureShelf shelf;
  bool isMobiDone = false;
};

// What was chosen in vain, as the reader's edition is not made of such inputs.
std::vector<BookWarning> WarningsOf(const BookOrder& order, const BookOptions& options) {
  const std::string name = OneLine(order.inputs.front().string());
  const PlainOptions plain = PlainOptionsOf(options.chosen);
  std::vector<BookWarning> warnings;
  for (const std::string& ignored : plain.ignored) {
    warnings.push_back({name, "is made in the plain edition, which knows no --" + ignored});
  }
  if (plain.wantsNoCover && order.kind == BookKind::kMobi) {
    warnings.push_back({name, "is a MOBI book, whose own cover is kept in spite of --cover none"});
  }
  return warnings;
}

void CopyTo(int output, const std::filesystem::path& packed) {
  constexpr size_t kChunkSize = size_t{1} << 18;
  const UniqueFd book(open(packed.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
  std::string chunk(kChunkSize, '\0');
  for (;;) {
    StopIfInterrupted();
    const ssize_t count = read(book.Get(), chunk.data(), chunk.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) throw Failure(packed, "cannot be read back; try again", Cause::kMachine);
    if (count == 0) return;
    const int error = WriteAll(output, {chunk.data(), static_cast<size_t>(count)});
    if (error != 0) throw NotWritten(error);
  }
}

}  // namespace

Conversion MakePlainBook(const BookOrder& order, const BookOptions& options,
                         const std::string& piped, const std::filesystem::path& workDir, int output,
                         Progress& progress) {
  Build build(order, options, piped, workDir, progress);
  Conversion made = build.Run();
  CopyTo(output, build.Packed());
  for (BookWarning& warning : WarningsOf(order, options)) {
    made.warnings.push_back(std::move(warning));
  }
  return made;
}
