// Prints outcomes.
#include "kavepub/reporters.h"

#include <cmath>
#include <cstdio>
#include <nlohmann/json.hpp>

namespace {

using Time = std::chrono::steady_clock;
constexpr double kRedrawAfter = 0.1;  // seconds

double SecondsSince(Time::time_point start) {
  return std::chrono::duration<double>(Time::now() - start).count();
}

class NoProgress : public Progress {
 public:
  void Show(double /*share*/) override {}
};

class BookProgress : public Progress {
 public:
  explicit BookProgress(std::string book) : name(std::move(book)) {}

  void Show(double share) override {
    if (!line.IsShown() || SecondsSince(drawn) < kRedrawAfter) return;
    drawn = Time::now();
    const double left = share > 0 ? SecondsSince(start) / share * (1 - share) : 0;
    line.Draw(name + " " + Bar(share) + " " + Clock(left) + " left");
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
    return std::make_unique<BookProgress>(order.inputs.front().filename().string());
  }

 protected:
  void Tell(const BookOrder& order, const Outcome& outcome) override {
    if (outcome.status != Outcome::Status::kDone) {
      std::fprintf(stderr, "kavepub: %s\n", outcome.message.c_str());
    } else if (!isQuiet) {
      const std::string remark = outcome.message.empty() ? "" : ": " + outcome.message;
      std::printf("%s (%s%s)\n", order.output.c_str(), NameOf(order.kind), remark.c_str());
    }
  }

 private:
  bool isQuiet;
};

class ManyBooksReporter : public CountingReporter {
 public:
  ManyBooksReporter(size_t books, bool quiet) : total(books), isQuiet(quiet) {}

  void Close() override {
    line.Wipe();
    if (!isQuiet) {
      const Tally& sums = Result();
      const double seconds = SecondsSince(start);
      std::printf("%zu done, %zu up to date, %zu failed, %zu not begun; %s, %.0f books a minute\n",
                  sums.done, sums.upToDate, sums.failed, total - sums.Finished(),
                  Clock(seconds).c_str(), Rate());
    }
    for (const std::string& failure : failures) {
      std::fprintf(stderr, "kavepub: %s\n", failure.c_str());
    }
  }

 protected:
  void Tell(const BookOrder& /*order*/, const Outcome& outcome) override {
    if (outcome.status == Outcome::Status::kFailed) failures.push_back(outcome.message);
    if (!isQuiet && SecondsSince(drawn) >= kRedrawAfter) Draw();
  }

 private:
  double Rate() const { return static_cast<double>(Result().done) / SecondsSince(start) * 60; }

  void Draw() {
    drawn = Time::now();
    const Tally& sums = Result();
    const double share = static_cast<double>(sums.Finished()) / static_cast<double>(total);
    line.Draw(Bar(share) + " " + std::to_string(sums.done) + " done, " +
              std::to_string(sums.failed) + " failed, " + std::to_string(std::lround(Rate())) +
              " books/min, " + Clock(SecondsSince(start) / share * (1 - share)) + " left");
  }

  size_t total;
  bool isQuiet;
  LiveLine line;
  std::vector<std::string> failures;
  Time::time_point start = Time::now();
  Time::time_point drawn;
};

class JsonReporter : public CountingReporter {
 protected:
  void Tell(const BookOrder& order, const Outcome& outcome) override {
    nlohmann::ordered_json book;
    for (const auto& input : order.inputs) book["inputs"].push_back(input.string());
    book["output"] = order.output.string();
    book["kind"] = NameOf(order.kind);
    book["status"] = NameOf(outcome.status);
    book["message"] = outcome.message;
    book["seconds"] = std::round(outcome.seconds * 1000) / 1000;
    // Names need not be UTF-8.
    std::printf("%s\n",
                book.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace).c_str());
    std::fflush(stdout);
  }
};

}  // namespace

void Tally::Count(const Outcome& outcome) {
  switch (outcome.status) {
    case Outcome::Status::kDone:
      ++done;
      break;
    case Outcome::Status::kUpToDate:
      ++upToDate;
      break;
    case Outcome::Status::kFailed:
      ++failed;
      break;
    case Outcome::Status::kInterrupted:
      interrupted = true;
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

std::unique_ptr<CountingReporter> ReportInJson() {
  return std::make_unique<JsonReporter>();
}
