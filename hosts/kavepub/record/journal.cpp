// Appends lines.
#include "hosts/kavepub/record/journal.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <system_error>

#include "hosts/kavepub/console/failure.h"
#include "hosts/kavepub/record/journal_line.h"

namespace {

constexpr mode_t kNewFileMode = 0666;  // the process's umask decides

// Several nodes of a cluster can be one machine.
std::string HostName() {
  const char* node = std::getenv("SLURMD_NODENAME");
  if (node != nullptr && *node != '\0') return node;
  std::array<char, HOST_NAME_MAX + 1> name{};
  return gethostname(name.data(), name.size() - 1) == 0 ? name.data() : "";
}

bool EndsWithinLine(int file) {
  struct stat status = {};
  char last = '\n';
  return fstat(file, &status) == 0 && status.st_size > 0 &&
         pread(file, &last, 1, status.st_size - 1) == 1 && last != '\n';
}

// Without the file, where that is the input, which the line names already.
std::string ReasonOf(const BookOrder& order, const Outcome& outcome) {
  for (const std::string& known :
       {OneLine(order.inputs.front().string()), OneLine(order.output.string())}) {
    for (const char* separator : {": ", ", "}) {
      if (outcome.message.starts_with(known + separator)) {
        return outcome.message.substr(known.size() + 2);
      }
    }
  }
  return outcome.message;
}

std::optional<Fate> FateOf(Outcome::Status status) {
  switch (status) {
    case Outcome::Status::kDone:
      return Fate::kDone;
    case Outcome::Status::kUpToDate:
      return Fate::kUpToDate;
    case Outcome::Status::kFailed:
      return Fate::kFailed;
    case Outcome::Status::kPlanned:
    case Outcome::Status::kInterrupted:
      break;
  }
  return std::nullopt;
}

JournalLine::Time Now() {
  return std::chrono::floor<std::chrono::milliseconds>(std::chrono::system_clock::now());
}

}  // namespace

Journal::Journal(const std::filesystem::path& place, const Share& ofRun)
    : path(place),
      host(HostName()),
      share(std::to_string(ofRun.number) + "/" + std::to_string(ofRun.count)),
      file(open(place.c_str(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, kNewFileMode)) {
  if (!file) {
    throw WrongUsage(path, std::generic_category().message(errno) +
                               "; name a file for the journal that can be written");
  }
  if (EndsWithinLine(file.Get())) waiting = '\n';
}

void Journal::Add(const BookOrder& order, const Outcome& outcome) {
  const std::optional<Fate> fate = FateOf(outcome.status);
  if (!fate) return;
  JournalLine line;
  line.name = order.name;
  line.output = order.output.string();
  line.fate = *fate;
  line.cause = outcome.cause;
  if (fate == Fate::kFailed) line.reason = ReasonOf(order, outcome);
  line.seconds = outcome.seconds;
  line.bytesIn = outcome.bytesIn;
  line.source = outcome.source;
  struct stat book = {};
  if (fate != Fate::kFailed && stat(order.output.c_str(), &book) == 0) {
    line.bytesOut = static_cast<std::uint64_t>(book.st_size);
  }
  line.host = host;
  line.share = share;
  line.time = Now();
  waiting += TextOf(line);
  Write();
}

void Journal::Close() {
  if (waiting.empty() || Write()) return;
  const auto lines = std::count(waiting.begin() + 1, waiting.end(), '\n');
  throw Failure(path,
                std::generic_category().message(error) + "; " + std::to_string(lines) +
                    " books are not in the journal, the same command again adds them",
                Cause::kDisk);
}

bool Journal::Write() {
  const ssize_t count = write(file.Get(), waiting.data(), waiting.size());
  if (count < 0) {
    error = errno;
    return false;
  }
  const auto written = static_cast<size_t>(count);
  const size_t whole = written == 0 ? std::string::npos : waiting.rfind('\n', written - 1);
  const bool isCutOff = written > 0 && whole != written - 1;
  if (whole != std::string::npos) waiting.erase(0, isCutOff ? whole : written);
  if (whole == std::string::npos && isCutOff) waiting.insert(0, 1, '\n');
  error = ENOSPC;  // the only reason to take less than all
  return waiting.empty();
}

void JournalingReporter::Finished(const BookOrder& order, const Outcome& outcome) {
  reporter.Finished(order, outcome);
  journal.Add(order, outcome);
}

std::unique_ptr<Progress> JournalingReporter::NewProgress(const BookOrder& order) {
  return reporter.NewProgress(order);
}
