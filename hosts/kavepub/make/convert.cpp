// Carries out one order: builds the book in a private directory and packs it.
#include "hosts/kavepub/make/convert.h"

#include "builder/epub_base.h"
#include "hosts/kavepub/console/failure.h"
#include "hosts/kavepub/console/interruption.h"
#include "hosts/kavepub/console/work_dir.h"
#include "hosts/kavepub/make/book_output.h"
#include "hosts/kavepub/make/pictures.h"
#include "hosts/kavepub/make/service.h"
#include "hosts/kavepub/make/text_book.h"
#include "hosts/kavepub/plan/input_kind.h"
#include "hosts/kavepub/source/html_metadata.h"
#include "hosts/kavepub/source/standard_input.h"

namespace {

constexpr char kStandardInput[] = "standard input";

// A book in the making, by the engine's record.
class Build {
 public:
  Build(const BookOrder& ordered, const BookOptions& chosen, Progress& shown)
      : order(ordered),
        options(chosen),
        progress(shown),
        workDir(chosen.workDir),
        service(workDir.Path()),
        shelf(workDir.Path()) {}

  // Where the packed book lies until this object goes.
  std::filesystem::path Packed() const { return workDir.Path() / "book.epub"; }

  Conversion Run() {
    switch (order.kind) {
      case BookKind::kText:
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

  // The standard input as a file.
  std::filesystem::path SavedStandardInput() const {
    std::filesystem::path saved = workDir.Path() / "standard input";
    SaveStandardInput(saved);
    if (KindOf(saved) != BookKind::kText) {
      throw Failure(saved, "is no text; save it to a file and convert that");
    }
    return saved;
  }

  // A text without a name is called like its book, if that has a name.
  std::string TitleOfText() const {
    if (order.inputs.front() != kStandardStream) return order.inputs.front().stem().string();
    return order.output == kStandardStream ? "Untitled" : order.output.stem().string();
  }

  Conversion MakeOfText() {
    const bool isStandardInput = order.inputs.front() == kStandardStream;
    const std::filesystem::path input =
        isStandardInput ? SavedStandardInput() : order.inputs.front();
    const TextSource source = PrepareText(input, options.decoding, workDir.Path());
    const bool isLineMode = options.paragraphs == ParagraphMode::kAuto
                                ? LinesAreParagraphs(source.file)
                                : options.paragraphs == ParagraphMode::kLine;
    if (!HoldsText(source.file)) {
      throw Failure(input, "holds no text; there is nothing to convert");
    }
    Begin(TitleOfText(), "");
    const auto addText = isLineMode ? AddTextOfParagraphs : AddWrappedText;
    addText(service, source.file, progress);
    Pack();
    Conversion made{source.encoding + (isLineMode ? ", one paragraph a line" : ", wrapped lines")};
    const std::string name = isStandardInput ? kStandardInput : input.string();
    if (!source.warning.empty()) made.warnings = {OneLine(name + ": " + source.warning)};
    return made;
  }

  Conversion MakeOfHtml() {
    const std::string& declared = options.decoding.encoding;
    const std::string encoding = declared == kAutoEncoding ? "" : declared;
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
  const BookOptions& options;
  Progress& progress;
  const WorkDir workDir;
  const Service service;
  PictureShelf shelf;
  bool isMobiDone = false;
};

}  // namespace

Conversion ConvertBook(const BookOrder& order, const BookOptions& options,
                       const Provenance& provenance, Progress& progress) {
  BookOutput output(order.output);
  Build build(order, options, progress);
  Conversion made;
  try {
    made = build.Run();
  } catch (const Failure& failure) {
    if (order.inputs.front() != kStandardStream) throw;
    throw Failure(kStandardInput, failure.Reason());  // whose name is only ours
  }
  output.Take(build.Packed(), provenance);
  return made;
}
