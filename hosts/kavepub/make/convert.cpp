// Carries out one order: builds the book in a private directory and packs it.
#include "hosts/kavepub/make/convert.h"

#include <optional>
#include <string_view>
#include <utility>

#include "builder/epub_base.h"
#include "hosts/kavepub/console/failure.h"
#include "hosts/kavepub/console/interruption.h"
#include "hosts/kavepub/console/work_dir.h"
#include "hosts/kavepub/make/book_output.h"
#include "hosts/kavepub/make/pictures.h"
#include "hosts/kavepub/make/plain_options.h"
#include "hosts/kavepub/make/reader_book.h"
#include "hosts/kavepub/make/service.h"
#include "hosts/kavepub/make/text_book.h"
#include "hosts/kavepub/plan/input_kind.h"
#include "hosts/kavepub/source/html_metadata.h"
#include "hosts/kavepub/source/standard_input.h"
#include "hosts/kavepub/source/text_source.h"

namespace {

// A book in the making, by the engine's record.
class Build {
 public:
  Build(const BookOrder& ordered, const BookOptions& chosen, const std::string& standardInput,
        Progress& shown)
      : order(ordered),
        options(PlainOptionsOf(chosen.chosen)),
        piped(standardInput),
        progress(shown),
        workDir(chosen.workDir),
        service(workDir.Path()),
        shelf(workDir.Path()) {}

  // Where the packed book lies until this object goes.
  std::filesystem::path Packed() const { return workDir.Path() / "book.epub"; }

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
    service.Require(service->InitEpub(service->data, workDir.Path().c_str(),
                                      options.title.value_or(title).c_str(),
                                      options.author.value_or(author).c_str()),
                    workDir.Path());
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
    const std::filesystem::path text = workDir.Path() / "text.txt";
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
    service.Require(service->Mobi2Epub(input.c_str(), Packed().c_str(), workDir.Path().c_str(),
                                       this, OnMobiProgress),
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
  const WorkDir workDir;
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

Conversion MakePlainBook(const BookOrder& order, const BookOptions& options,
                         const std::string& piped, BookOutput& output, const Provenance& provenance,
                         Progress& progress) {
  Build build(order, options, piped, progress);
  Conversion made = build.Run();
  output.Take(build.Packed(), provenance);
  for (BookWarning& warning : WarningsOf(order, options)) {
    made.warnings.push_back(std::move(warning));
  }
  return made;
}

}  // namespace

Conversion ConvertBook(const BookOrder& order, const BookOptions& options,
                       const Provenance& provenance, Progress& progress) {
  BookOutput output(order.output);
  const bool isPiped = order.inputs.front() == kStandardStream;
  const std::string piped = isPiped ? ReadStandardInput() : std::string();
  if (IsForReaders(order, options)) {
    try {
      BookReport report = MakeReadersBook(order, options, piped, output, progress);
      output.Finish(provenance);
      std::vector<BookWarning> warnings = report.warnings;
      return {RemarkOn(report), std::move(warnings), std::move(report)};
    } catch (const Unsupported&) {
      if (order.kind == BookKind::kPictures) throw;
      // Something else than its name promises, of which only plain books are made.
    }
  }
  return MakePlainBook(order, options, piped, output, provenance, progress);
}
