// Prints outcomes.
#include "hosts/kavepub/make/reporters.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <initializer_list>
#include <mutex>
#include <nlohmann/json.hpp>
#include <sstream>
#include <utility>

#include "hosts/kavepub/console/failure.h"
#include "hosts/kavepub/console/interruption.h"
#include "hosts/kavepub/console/standard_output.h"
#include "hosts/kavepub/inspect/book_info.h"
#include "hosts/kavepub/make/report_json.h"

namespace {

using Time = std::chrono::steady_clock;
constexpr double kRedrawAfter = 0.1;  // seconds

double SecondsSince(Time::time_point start) {
  return std::chrono::duration<double>(Time::now() - start).count();
}

// ", 0:12 left", or nothing before there is anything to reckon with.
std::string TimeLeft(Time::time_point start, double share) {
  if (share <= 0) return {};
  return ", " + Clock(SecondsSince(start) / share * (1 - share)) + " left";
}

class BookProgress : public Progress {
 public:
  explicit BookProgress(std::string book) : name(std::move(book)) {}

  void Show(double share) override {
    if (!line.IsShown() || SecondsSince(drawn) < kRedrawAfter) return;
    drawn = Time::now();
    line.Draw(Bar(share) + TimeLeft(start, share) + ", " + name);
  }

 private:
  std::string name;
  LiveLine line;
  Time::time_point start = Time::now();
  Time::time_point drawn;
};

class OneBookReporter : public CountingReporter {
 public:
  explicit OneBookReporter(bool quiet) : isQuiet(quiet) {}

  std::unique_ptr<Progress> NewProgress(const BookOrder& order) override {
    if (isQuiet) return CountingReporter::NewProgress(order);
    return std::make_unique<BookProgress>(OneLine(order.inputs.front().filename().string()));
  }

 protected:
  void Tell(const BookOrder& order, const Outcome& outcome) override {
    for (const BookWarning& warning : outcome.warnings) {
      std::fprintf(stderr, "kavepub: warning: %s\n", warning.Text().c_str());
    }
    if (outcome.status != Outcome::Status::kDone) {
      std::fprintf(stderr, "kavepub: %s\n", outcome.message.c_str());
    } else if (!isQuiet) {
      const std::string remark = outcome.message.empty() ? "" : ": " + outcome.message;
      Say(OneLine(order.output.string()) + " (" + NameOf(order.kind) + remark + ")");
    }
  }

 private:
  bool isQuiet;
};

// Gathers what there is to say of books, and lists it in the order of the names.
class ReasonTable {
 public:
  explicit ReasonTable(const char* heading) : title(heading) {}

  void Add(const BookOrder& order, const std::string& reason) {
    const std::string name = OneLine(order.inputs.front().string());
    // A reason about another file than the input names it itself.
    const bool isOfInput = reason.starts_with(name + ": ") || reason.starts_with(name + ", ");
    rows.emplace_back(name, reason.substr(isOfInput ? name.size() + 2 : 0));
  }

  void Print() {
    std::sort(rows.begin(), rows.end());
    size_t widest = 0;
    for (const auto& [name, reason] : rows) widest = std::max(widest, WidthOf(name));
    widest = std::min(widest, kWidestColumn);
    if (!rows.empty()) std::fprintf(stderr, "%s:\n", title);
    for (const auto& [name, reason] : rows) {
      const std::string padding(widest - std::min(widest, WidthOf(name)) + 2, ' ');
      std::fprintf(stderr, "  %s%s%s\n", name.c_str(), padding.c_str(), reason.c_str());
    }
  }

 private:
  static constexpr size_t kWidestColumn = 40;

  const char* title;
  std::vector<std::pair<std::string, std::string>> rows;
};

// What goes into no book, on one line with the first few.
class SkippedLine {
 public:
  void Add(const Skipped& skipped) {
    if (++count > kMostNamed) return;
    named += (named.empty() ? "" : ", ") + skipped.file.string() + " " +
             skipped.reason.substr(0, skipped.reason.find(';'));
  }

  void Print() const {
    if (count == 0) return;
    const std::string more =
        count > kMostNamed ? ", and " + std::to_string(count - kMostNamed) + " more" : "";
    Say(OneLine("Skipped: " + named + more + " (--json tells each)"));
  }

 private:
  static constexpr size_t kMostNamed = 3;

  size_t count = 0;
  std::string named;
};

// What went wrong with books, and what nearly did.
class Troubles {
 public:
  void Add(const BookOrder& order, const Outcome& outcome) {
    if (outcome.status == Outcome::Status::kFailed) failures.Add(order, outcome.message);
    for (const BookWarning& warning : outcome.warnings) warnings.Add(order, warning.Text());
  }

  void Print() {
    warnings.Print();
    failures.Print();
  }

 private:
  ReasonTable warnings{"Warnings"};
  ReasonTable failures{"Failed"};
};

// "3 done, 1 failed": what is zero is left out.
std::string ListOf(std::initializer_list<std::pair<size_t, const char*>> sums) {
  std::string list;
  for (const auto& [count, name] : sums) {
    if (count == 0) continue;
    if (!list.empty()) list += ", ";
    list += std::to_string(count) + " " + name;
  }
  return list;
}

class ManyBooksReporter : public CountingReporter {
 public:
  ManyBooksReporter(size_t books, bool quiet) : total(books), isQuiet(quiet) {}

  std::unique_ptr<Progress> NewProgress(const BookOrder& /*order*/) override {
    MoveBy(0);
    return std::make_unique<Part>(*this);
  }

  void Skip(const Skipped& skipped) override { skippedLine.Add(skipped); }

  void Close() override {
    line.Wipe();
    troubles.Print();
    sums = Result();
    if (!isQuiet) {
      for (const std::string& remark : remarks) Say(remark);
      skippedLine.Print();
      const std::string rate = sums.done == 0 ? "" : ", " + std::to_string(Rate()) + " books/min";
      const std::string list = ListOf({{sums.done, "done"},
                                       {sums.upToDate, "up to date"},
                                       {sums.failed, "failed"},
                                       {total - sums.Finished(), "not made"}});
      Say((list.empty() ? "nothing to make" : list) + " in " + Clock(SecondsSince(start)) + rate);
    }
    if (WasInterrupted() && sums.Finished() < total) {
      std::fprintf(stderr, "kavepub: interrupted; the same command again makes the rest\n");
    }
  }

 protected:
  void Tell(const BookOrder& order, const Outcome& outcome) override {
    const std::scoped_lock lock(drawing);
    troubles.Add(order, outcome);
    if (!order.remark.empty()) remarks.push_back(OneLine(order.remark));
    sums = Result();
    DrawNow();
  }

 private:
  // The share of a book in the whole, which it hands back when it is done and counted as such.
  class Part : public Progress {
   public:
    explicit Part(ManyBooksReporter& whole) : reporter(whole) {}
    ~Part() override { reporter.MoveBy(-part); }
    Part(const Part&) = delete;
    Part& operator=(const Part&) = delete;

    void Show(double share) override {
      reporter.MoveBy(share - part);
      part = share;
    }

   private:
    ManyBooksReporter& reporter;
    double part = 0;
  };

  void MoveBy(double share) {
    if (!line.IsShown() || isQuiet) return;
    const std::scoped_lock lock(drawing);
    begun += share;
    DrawNow();
  }

  long Rate() const {
    return std::lround(static_cast<double>(sums.done) / SecondsSince(start) * 60);
  }

  void DrawNow() {
    if (!line.IsShown() || isQuiet || SecondsSince(drawn) < kRedrawAfter) return;
    drawn = Time::now();
    const double share =
        (static_cast<double>(sums.Finished()) + begun) / static_cast<double>(total);
    line.Draw(Bar(share) + " " + std::to_string(sums.done) + " done, " +
              std::to_string(sums.failed) + " failed, " + std::to_string(Rate()) + " books/min" +
              TimeLeft(start, share));
  }

  size_t total;
  bool isQuiet;
  std::mutex drawing;  // guards all below
  LiveLine line;
  Troubles troubles;
  std::vector<std::string> remarks;
  SkippedLine skippedLine;
  Tally sums;        // as of the last book that was finished
  double begun = 0;  // the shares of the books in the making, in books
  Time::time_point start = Time::now();
  Time::time_point drawn;
};

class PlanReporter : public CountingReporter {
 public:
  PlanReporter(bool quiet, bool isBatch) : isQuiet(quiet), tellsContents(!isBatch) {}

  void Skip(const Skipped& skipped) override { skippedLine.Add(skipped); }

  void Close() override {
    if (!isQuiet) skippedLine.Print();
    troubles.Print();
  }

 protected:
  void Tell(const BookOrder& order, const Outcome& outcome) override {
    troubles.Add(order, outcome);
    if (isQuiet || outcome.status == Outcome::Status::kFailed) return;
    const size_t others = order.inputs.size() - 1;
    const std::string more = others > 0 ? " and " + std::to_string(others) + " more" : "";
    const bool isThere = outcome.status == Outcome::Status::kUpToDate;
    const std::string remark = outcome.message.empty() ? "" : ": " + outcome.message;
    Say(OneLine(order.inputs.front().string()) + more + " -> " + OneLine(order.output.string()) +
        " (" + NameOf(order.kind) + remark + (isThere ? ", up to date)" : ")"));
    if (tellsContents && outcome.report) Say(Judgeable(*outcome.report));
  }

 private:
  // What a person can judge before the book is made.
  static std::string Judgeable(const BookReport& report) {
    std::string text = "  Title     " + OneLine(report.Fact("title"));
    std::istringstream authors(report.Fact("authors"));
    for (std::string author; std::getline(authors, author);) {
      text += "\n  Author    " + OneLine(author);
    }
    if (!report.chapters.empty()) text += "\n  Contents" + ContentsForPeople(report.chapters);
    return text;
  }

  bool isQuiet;
  bool tellsContents;
  Troubles troubles;
  SkippedLine skippedLine;
};

class JsonReporter : public CountingReporter {
 public:
  void Skip(const Skipped& skipped) override {
    nlohmann::ordered_json file;
    file["inputs"] = {skipped.file.string()};
    file["status"] = "skipped";
    file["message"] = skipped.reason;
    Print(file);
  }

 protected:
  void Tell(const BookOrder& order, const Outcome& outcome) override {
    nlohmann::ordered_json book;
    for (const auto& input : order.inputs) book["inputs"].push_back(input.string());
    book["output"] = order.output.string();
    book["kind"] = NameOf(order.kind);
    book["status"] = NameOf(outcome.status);
    book["message"] = outcome.message;
    book["warnings"] = nlohmann::json::array();
    for (const BookWarning& warning : outcome.warnings) {
      book["warnings"].push_back(AsJson(warning));
    }
    if (outcome.report) book["report"] = AsJson(*outcome.report);
    book["seconds"] = std::round(outcome.seconds * 1000) / 1000;
    Print(book);
  }

 private:
  static void Print(const nlohmann::ordered_json& object) {
    // Names need not be UTF-8.
    Say(object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
  }
};

}  // namespace

void Tally::Count(const Outcome& outcome) {
  switch (outcome.status) {
    case Outcome::Status::kDone:
      ++done;
      break;
    case Outcome::Status::kPlanned:
      ++planned;
      break;
    case Outcome::Status::kUpToDate:
      ++upToDate;
      break;
    case Outcome::Status::kFailed:
      ++failed;
      break;
    case Outcome::Status::kInterrupted:
      break;
  }
}

void CountingReporter::Finished(const BookOrder& order, const Outcome& outcome) {
  tally.Count(outcome);
  Tell(order, outcome);
}

std::unique_ptr<Progress> CountingReporter::NewProgress(const BookOrder& /*order*/) {
  return std::make_unique<NoProgress>();
}

std::unique_ptr<CountingReporter> ReportOneBook(bool quiet) {
  return std::make_unique<OneBookReporter>(quiet);
}

std::unique_ptr<CountingReporter> ReportManyBooks(size_t books, bool quiet) {
  return std::make_unique<ManyBooksReporter>(books, quiet);
}

std::unique_ptr<CountingReporter> ReportPlan(bool quiet, bool isBatch) {
  return std::make_unique<PlanReporter>(quiet, isBatch);
}

std::unique_ptr<CountingReporter> ReportInJson() {
  return std::make_unique<JsonReporter>();
}
