// Joins journals line by line.
#include "hosts/kavepub/record/run_report.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <functional>
#include <limits>
#include <string_view>
#include <system_error>
#include <unordered_map>
#include <utility>

#include "base/atomic_output.h"
#include "base/unique_fd.h"
#include "hosts/kavepub/console/failure.h"
#include "hosts/kavepub/console/interruption.h"
#include "hosts/kavepub/plan/listed_books.h"
#include "hosts/kavepub/plan/name_list.h"
#include "hosts/kavepub/record/fate_table.h"
#include "hosts/kavepub/work/written.h"

namespace {

namespace fs = std::filesystem;

constexpr size_t kReadAtOnce = size_t{1} << 18;
constexpr size_t kMostSlow = 5;
constexpr size_t kMostMissing = 5;
constexpr size_t kMostReasons = 1000;
constexpr char kOtherReasons[] = "other reasons";

// Calls take(line) for each line of a file, without its line feed.
void ForEachLine(const fs::path& path, const std::function<void(std::string_view)>& take) {
  const UniqueFd file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  std::string lines;
  for (;;) {
    StopIfInterrupted();
    const size_t kept = lines.size();
    lines.resize(kept + kReadAtOnce);
    const ssize_t count = file ? read(file.Get(), lines.data() + kept, kReadAtOnce) : -1;
    if (count < 0) {
      throw Failure(path, std::generic_category().message(errno) + "; check the path");
    }
    lines.resize(kept + static_cast<size_t>(count));
    std::string_view rest = lines;
    for (size_t end = rest.find('\n'); end != std::string_view::npos; end = rest.find('\n')) {
      take(rest.substr(0, end));
      rest.remove_prefix(end + 1);
    }
    if (count == 0) {
      if (!rest.empty()) take(rest);
      return;
    }
    lines.erase(0, lines.size() - rest.size());
  }
}

// The names of books to be tried again, in a file that appears when all are in it.
class RetryList {
 public:
  RetryList(const fs::path& place, bool ofLines) : path(place), end(ofLines ? '\n' : '\0') {
    if (!output.Open(path.c_str())) Fail();
  }

  void Add(std::string_view name) {
    names.append(name).push_back(end);
    if (names.size() >= kReadAtOnce) Write();
  }

  void Finish() {
    Write();
    if (!output.Commit()) Fail();
  }

 private:
  void Write() {
    if (WriteAll(output.Fd(), names) != 0) Fail();
    names.clear();
  }

  [[noreturn]] void Fail() const {
    throw Failure(path, "cannot be written; check its directory and the room there");
  }

  const fs::path& path;
  char end;
  AtomicOutput output;
  std::string names;
};

class Joining {
 public:
  void Add(std::string_view text) {
    if (text.empty()) return;
    const JournalLine* line = reader.Read(text);
    if (line == nullptr) {
      ++report.brokenLines;
      return;
    }
    areLines = areLines && IsLine(line->name);
    BookState& book = table.Of(line->name);
    AddWork(*line, book.wasMade != 0);
    if (line->fate == Fate::kDone) book.wasMade = 1;
    const auto time = static_cast<std::uint64_t>(line->time.time_since_epoch().count());
    const bool isLater = book.fate == BookState::kMissing || time >= book.time;
    if (!isLater) return;
    book.time = time & ((std::uint64_t{1} << 42) - 1);
    book.fate = static_cast<std::uint64_t>(line->fate) & 3;
    if (line->fate == Fate::kFailed) book.reason = NumberOf(line->cause, line->reason) & 0x1FFFF;
  }

  // Compares with a list, and writes what it names and is worth another try.
  void AddList(const fs::path& list, const fs::path& retry) {
    hasList = true;
    ForEachName(list, [&](std::string_view name) { areLines = areLines && IsLine(name); });
    const auto tries = NewRetryList(retry);
    ForEachName(list, [&](std::string_view listed) {
      const std::string below = NameBelow({}, listed);
      const std::string name = below.empty() ? std::string(listed) : below;
      BookState& book = table.Of(name);
      if (book.isListed != 0) return;
      book.isListed = 1;
      if (book.fate == BookState::kMissing && report.firstMissing.size() < kMostMissing) {
        report.firstMissing.push_back(name);
      }
      if (tries && IsWorthAnotherTry(book)) tries->Add(name);
    });
    if (tries) tries->Finish();
  }

  // Writes what the journals name and is worth another try.
  void WriteRetries(const std::vector<fs::path>& journals, const fs::path& retry) {
    const auto tries = NewRetryList(retry);
    if (!tries) return;
    for (const fs::path& journal : journals) {
      ForEachLine(journal, [&](std::string_view text) {
        const JournalLine* line = reader.Read(text);
        if (line == nullptr || line->fate != Fate::kFailed) return;
        BookState& book = table.Of(line->name);
        if (book.isTold != 0 || !IsWorthAnotherTry(book)) return;
        book.isTold = 1;
        tries->Add(line->name);
      });
    }
    tries->Finish();
  }

  RunReport Result() {
    std::vector<size_t> booksOf(reasons.size());
    table.ForEach([&](const BookState& book) {
      if (hasList && book.isListed == 0) {
        ++report.unlisted;
      } else if (book.fate == BookState::kMissing) {
        ++report.missing;
      } else if (book.fate == static_cast<std::uint64_t>(Fate::kFailed)) {
        ++report.failed;
        ++booksOf[book.reason];
      } else {
        ++(book.fate == static_cast<std::uint64_t>(Fate::kDone) ? report.done : report.upToDate);
      }
    });
    for (size_t i = 0; i < reasons.size(); ++i) {
      if (booksOf[i] > 0)
        report.failures.push_back({reasons[i].first, reasons[i].second, booksOf[i]});
    }
    std::sort(report.failures.begin(), report.failures.end(),
              [](const RunReport::Failures& one, const RunReport::Failures& other) {
                const auto key = [](const RunReport::Failures& failures) {
                  return std::tuple(!failures.AreWorthAnotherTry(),
                                    std::numeric_limits<size_t>::max() - failures.books,
                                    std::string_view(failures.reason));
                };
                return key(one) < key(other);
              });
    return std::move(report);
  }

 private:
  static bool IsLine(std::string_view name) {
    return name.find('\n') == std::string_view::npos && !name.ends_with('\r');
  }

  bool IsWorthAnotherTry(const BookState& book) const {
    if (book.fate == BookState::kMissing) return true;
    return book.fate == static_cast<std::uint64_t>(Fate::kFailed) &&
           reasons[book.reason].first != Cause::kBook;
  }

  std::unique_ptr<RetryList> NewRetryList(const fs::path& path) const {
    return path.empty() ? nullptr : std::make_unique<RetryList>(path, areLines);
  }

  void AddWork(const JournalLine& line, bool wasMade) {
    const auto length = std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::duration<double>(line.seconds));
    const bool isFirst = report.hosts.empty();
    report.begin = isFirst ? line.time - length : std::min(report.begin, line.time - length);
    report.end = isFirst ? line.time : std::max(report.end, line.time);
    RunReport::Work& work = report.hosts[line.host];
    work.seconds += line.seconds;
    if (line.fate != Fate::kDone) return;
    AddSlow(line);
    ++work.books;
    if (wasMade) {
      ++report.madeAgain;
      return;
    }
    ++report.made;
    report.bytesIn += line.bytesIn;
    report.bytesOut += line.bytesOut;
  }

  void AddSlow(const JournalLine& line) {
    auto& slowest = report.slowest;
    if (slowest.size() == kMostSlow && slowest.back().seconds >= line.seconds) return;
    const auto same = std::find_if(slowest.begin(), slowest.end(),
                                   [&](const auto& known) { return known.name == line.name; });
    if (same != slowest.end()) {
      if (same->seconds >= line.seconds) return;
      slowest.erase(same);
    }
    if (slowest.size() == kMostSlow) slowest.pop_back();
    const auto place = std::find_if(slowest.begin(), slowest.end(), [&](const auto& known) {
      return known.seconds < line.seconds;
    });
    slowest.insert(place, {line.seconds, line.name, line.host});
  }

  // Of reasons that differ for each book, only the first are kept.
  size_t NumberOf(Cause cause, const std::string& reason) {
    const bool isFull = reasons.size() >= kMostReasons;
    const std::string key = std::string(NameOf(cause)) + " " + reason;
    const auto known = numbers.find(key);
    if (known != numbers.end()) return known->second;
    if (isFull && reason != kOtherReasons) return NumberOf(cause, kOtherReasons);
    reasons.emplace_back(cause, reason);
    return numbers[key] = reasons.size() - 1;
  }

  JournalReader reader;
  FateTable table;
  std::vector<std::pair<Cause, std::string>> reasons;
  std::unordered_map<std::string, size_t> numbers;  // of causes and reasons
  bool areLines = true;                             // all names
  bool hasList = false;
  RunReport report;
};

}  // namespace

RunReport ReportOnRun(const std::vector<fs::path>& journals, const fs::path& list,
                      const fs::path& retry) {
  Joining joining;
  for (const fs::path& journal : journals) {
    RequireReadable(journal);  // it may be read twice
    ForEachLine(journal, [&](std::string_view line) { joining.Add(line); });
  }
  if (!list.empty()) {
    RequireReadable(list);
    joining.AddList(list, retry);
  } else {
    joining.WriteRetries(journals, retry);
  }
  return joining.Result();
}
