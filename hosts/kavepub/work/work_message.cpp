// Work and what comes of it as bytes, on their way into a cell and out of it.
#include "hosts/kavepub/work/work_message.h"

#include <algorithm>
#include <new>
#include <utility>

#include "base/packed_values.h"
#include "hosts/kavepub/work/written.h"

namespace {

enum class End : std::uint64_t {
  kMade,
  kFailed,
  kUnsupported,
  kWrongUsage,
  kNotWritten,
  kInterrupted,
  kNoMemory,
};

constexpr char kNonsense[] = "tells nonsense of the book that it has made";
constexpr std::uint64_t kSize = sizeof(std::uint64_t);  // of a number, and of an empty text

std::uint64_t NumberOf(auto value) {
  return static_cast<std::uint64_t>(value);
}

void Add(Packing& packing, const std::vector<BookWarning>& warnings) {
  packing.Add(warnings.size());
  for (const BookWarning& warning : warnings) packing.Add(warning.place).Add(warning.message);
}

std::vector<BookWarning> TakeWarnings(Unpacking& unpacking) {
  std::vector<BookWarning> warnings(unpacking.Count(2 * kSize));
  for (BookWarning& warning : warnings) {
    warning.place = OneLine(unpacking.Text());
    warning.message = OneLine(unpacking.Text());
  }
  return warnings;
}

void Add(Packing& packing, const BookReport& report) {
  packing.Add(report.facts.size());
  for (const auto& [name, value] : report.facts) packing.Add(name).Add(value);
  packing.Add(report.chapters.size());
  for (const BookReport::Chapter& chapter : report.chapters) {
    packing.Add(chapter.title).Add(chapter.level).Add(chapter.line);
  }
  Add(packing, report.warnings);
}

// As OneLine, for what may have several.
std::string Lines(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](unsigned char c) { return (c < ' ' && c != '\n') || c == 0x7F; },
      '?');
  return text;
}

BookReport TakeReport(Unpacking& unpacking) {
  constexpr std::uint64_t kDeepest = 1000;
  BookReport report;
  report.facts.resize(unpacking.Count(2 * kSize));
  for (auto& [name, value] : report.facts) {
    name = OneLine(unpacking.Text());
    value = Lines(unpacking.Text());
  }
  report.chapters.resize(unpacking.Count(3 * kSize));
  for (BookReport::Chapter& chapter : report.chapters) {
    chapter.title = OneLine(unpacking.Text());
    const std::uint64_t level = unpacking.Number();
    if (level == 0 || level > kDeepest) unpacking.Reject();
    chapter.level = static_cast<unsigned>(level);
    chapter.line = unpacking.Number();
  }
  report.warnings = TakeWarnings(unpacking);
  return report;
}

std::string Made(const Conversion& made) {
  Packing packing;
  packing.Add(NumberOf(End::kMade)).Add(made.remark);
  Add(packing, made.warnings);
  packing.Add(made.report ? 1 : 0);
  if (made.report) Add(packing, *made.report);
  return packing.Bytes();
}

Conversion TakeConversion(Unpacking& unpacking) {
  Conversion made{OneLine(unpacking.Text()), TakeWarnings(unpacking)};
  if (unpacking.Number() != 0) made.report = TakeReport(unpacking);
  return made;
}

std::string Failed(End end, const std::exception& failure) {
  Packing packing;
  packing.Add(NumberOf(end)).Add(Explain(failure)).Add(NumberOf(CauseOf(failure)));
  return packing.Bytes();
}

std::string Ended(End end, int error = 0) {
  return Packing().Add(NumberOf(end)).Add(NumberOf(error)).Bytes();
}

[[noreturn]] void ThrowFailure(End end, Unpacking& unpacking) {
  const std::string line = unpacking.Text();
  const std::uint64_t cause = unpacking.Number();
  if (!unpacking.IsSound() || cause > NumberOf(Cause::kMemory)) throw Failure(kNonsense);
  if (end == End::kWrongUsage) throw WrongUsage(line);
  if (end == End::kUnsupported) throw Unsupported(line);
  throw Failure(line, static_cast<Cause>(cause));
}

}  // namespace

std::string WriteWork(const Work& work) {
  const auto& [task, order, options, piped, workDir, room] = work;
  Packing packing;
  packing.Add(NumberOf(task)).Add(NumberOf(order.kind)).Add(order.inputs.size());
  for (const auto& input : order.inputs) packing.Add(input.native());
  packing.Add(order.folder.native()).Add(order.output.native());
  packing.Add(NumberOf(options.edition)).Add(options.chosen.size());
  for (const auto& [name, value] : options.chosen) packing.Add(name).Add(value);
  packing.Add(options.isAlone ? 1 : 0);
  return packing.Add(piped).Add(workDir.native()).Add(room).Bytes();
}

Work ReadWork(std::string_view bytes) {
  Unpacking unpacking(bytes);
  Work work;
  work.task = static_cast<Work::Task>(unpacking.Number());
  work.order.kind = static_cast<BookKind>(unpacking.Number());
  work.order.inputs.resize(unpacking.Count(kSize));
  for (auto& input : work.order.inputs) input = unpacking.Text();
  work.order.folder = unpacking.Text();
  work.order.output = unpacking.Text();
  work.options.edition = static_cast<Edition>(unpacking.Number());
  work.options.chosen.resize(unpacking.Count(2 * kSize));
  for (auto& [name, value] : work.options.chosen) {
    name = unpacking.Text();
    value = unpacking.Text();
  }
  work.options.isAlone = unpacking.Number() != 0;
  work.piped = unpacking.Text();
  work.workDir = unpacking.Text();
  work.room = unpacking.Number();
  return work;
}

std::string WriteEnd(const std::function<Conversion()>& work) {
  try {
    return Made(work());
  } catch (const Unsupported& failure) {
    return Failed(End::kUnsupported, failure);
  } catch (const WrongUsage& failure) {
    return Failed(End::kWrongUsage, failure);
  } catch (const NotWritten& failure) {
    return Ended(End::kNotWritten, failure.code().value());
  } catch (const Interrupted&) {
    return Ended(End::kInterrupted);
  } catch (const std::bad_alloc&) {
    return Ended(End::kNoMemory);
  } catch (const std::exception& failure) {
    return Failed(End::kFailed, failure);
  }
}

Conversion ReadEnd(std::string_view bytes) {
  Unpacking unpacking(bytes);
  const auto end = static_cast<End>(unpacking.Number());
  switch (end) {
    case End::kMade: {
      Conversion made = TakeConversion(unpacking);
      if (!unpacking.IsSound()) throw Failure(kNonsense);
      return made;
    }
    case End::kFailed:
    case End::kUnsupported:
    case End::kWrongUsage:
      ThrowFailure(end, unpacking);
    case End::kNotWritten:
      throw NotWritten(static_cast<int>(unpacking.Number() & 0xFFF));
    case End::kInterrupted:
      throw Interrupted();
    case End::kNoMemory:
      throw std::bad_alloc();
  }
  throw Failure(kNonsense);
}
