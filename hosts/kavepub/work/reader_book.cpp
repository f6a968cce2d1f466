// Hands orders to jobs of the library.
#include "hosts/kavepub/work/reader_book.h"

#include "hosts/kavepub/work/written.h"

namespace {

constexpr char kUndetermined[] = "und";  // the language of what has too few words

std::string AlbumTitle(const BookOrder& order) {
  return (order.folder.empty() ? order.output.stem() : order.folder.filename()).string();
}

EditionJob NewJob(const BookOrder& order, const BookOptions& options, const std::string& piped) {
  EditionOptions chosen = options.chosen;
  if (!options.isAlone) chosen.emplace_back("threads", "1");
  // First, so that one that was chosen counts. A picture's name would be no title of an album.
  if (order.kind == BookKind::kPictures && order.output != kStandardStream) {
    chosen.insert(chosen.begin(), {"title", AlbumTitle(order)});
  }
  EditionJob job(chosen);
  if (order.inputs.front() == kStandardStream) {
    job.AddStandardInput(TitleOf(order), piped);
  } else {
    for (const std::filesystem::path& input : order.inputs) job.Add(input);
  }
  return job;
}

EditionJob::Listener ShowIn(Progress& progress) {
  return [&progress](double share) { progress.Show(share); };
}

}  // namespace

bool IsForReaders(const BookOrder& order, const BookOptions& options) {
  return options.edition == Edition::kReader && EditionReads(NameOf(order.kind));
}

BookReport MakeReadersBook(const BookOrder& order, const BookOptions& options,
                           const std::string& piped, int output, Progress& progress) {
  int error = 0;
  const auto take = [&](std::string_view bytes) {
    error = WriteAll(output, bytes);
    return error == 0;
  };
  try {
    return NewJob(order, options, piped).Run(take, ShowIn(progress));
  } catch (const Failure&) {
    if (error != 0) throw NotWritten(error);
    throw;
  }
}

BookReport ExamineForReaders(const BookOrder& order, const BookOptions& options,
                             const std::string& piped, Progress& progress) {
  return NewJob(order, options, piped).Examine(ShowIn(progress));
}

std::string RemarkOn(const BookReport& report) {
  std::string remark;
  for (const char* name : {"encoding", "language"}) {
    const std::string fact = report.Fact(name);
    if (!fact.empty() && fact != kUndetermined) remark += fact + ", ";
  }
  const size_t count = report.chapters.size();
  if (report.Fact("kind") == "pictures") {
    return remark + std::to_string(count) + (count == 1 ? " picture" : " pictures");
  }
  if (count == 0) return remark + "no chapters";
  return remark + std::to_string(count) + (count == 1 ? " chapter" : " chapters");
}
