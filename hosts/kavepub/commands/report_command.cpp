// "kavepub report": tells what became of a run.
#include <array>
#include <cmath>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <string>

#include "hosts/kavepub/commands/commands.h"
#include "hosts/kavepub/console/failure.h"
#include "hosts/kavepub/console/standard_output.h"
#include "hosts/kavepub/console/terminal.h"
#include "hosts/kavepub/record/run_report.h"

namespace {

constexpr size_t kMostFailures = 20;
constexpr double kMebi = 1 << 20;

std::string Fixed(double number, int digits) {
  std::array<char, 64> text;
  std::snprintf(text.data(), text.size(), "%.*f", digits, number);
  return text.data();
}

double PerSecond(double amount, const RunReport& report) {
  return report.Seconds() > 0 ? amount / report.Seconds() : 0;
}

std::string Mebibytes(std::uint64_t bytes, const RunReport& report) {
  const double size = static_cast<double>(bytes);
  return Fixed(size / kMebi, 1) + " MiB, " + Fixed(PerSecond(size / kMebi, report), 1) + " MiB/s";
}

void SaySums(const RunReport& report) {
  std::string sums = std::to_string(report.done + report.upToDate) + " done";
  if (report.upToDate > 0) sums += " (" + std::to_string(report.upToDate) + " were up to date)";
  sums += ", " + std::to_string(report.failed) + " failed";
  sums += ", " + std::to_string(report.missing) + " missing";
  Say(sums);
}

void SayFailures(const RunReport& report) {
  size_t told = 0;
  for (const RunReport::Failures& failures : report.failures) {
    if (++told > kMostFailures) {
      Say("  and " + std::to_string(report.failures.size() - kMostFailures) + " other reasons");
      break;
    }
    const bool isFirst = told == 1 || failures.AreWorthAnotherTry() !=
                                          report.failures[told - 2].AreWorthAnotherTry();
    if (isFirst) Say(failures.AreWorthAnotherTry() ? "Worth another try:" : "Of the books:");
    Say("  " + std::to_string(failures.books) + "  " + NameOf(failures.cause) + ": " +
        OneLine(failures.reason));
  }
}

void SayWork(const RunReport& report) {
  if (report.hosts.empty()) return;
  Say(Clock(report.Seconds()) + ", " +
      Fixed(PerSecond(static_cast<double>(report.made), report), 1) + " books/s, in " +
      Mebibytes(report.bytesIn, report) + ", out " + Mebibytes(report.bytesOut, report));
  for (const auto& [host, work] : report.hosts) {
    Say("  " + OneLine(host) + ": " + std::to_string(work.books) + " books in " +
        Fixed(work.seconds, 1) + " s of its threads");
  }
  if (report.madeAgain > 0) Say("Made again: " + std::to_string(report.madeAgain));
  if (!report.slowest.empty()) Say("Slowest:");
  for (const RunReport::SlowBook& book : report.slowest) {
    Say("  " + Fixed(book.seconds, 3) + " s  " + OneLine(book.name) + " on " + OneLine(book.host));
  }
}

void PrintForPeople(const RunReport& report) {
  SaySums(report);
  SayFailures(report);
  if (report.missing > 0) Say("Missing:");
  for (const std::string& name : report.firstMissing) Say("  " + OneLine(name));
  if (report.missing > report.firstMissing.size()) {
    Say("  and " + std::to_string(report.missing - report.firstMissing.size()) + " more");
  }
  SayWork(report);
  if (report.unlisted > 0) {
    Say("Not in the list: " + std::to_string(report.unlisted));
  }
  if (report.brokenLines > 0) {
    Say("Lines that were cut off: " + std::to_string(report.brokenLines));
  }
}

void PrintForMachines(const RunReport& report) {
  nlohmann::ordered_json object;
  object["done"] = report.done;
  object["up_to_date"] = report.upToDate;
  object["failed"] = report.failed;
  object["missing"] = report.missing;
  object["not_listed"] = report.unlisted;
  object["made"] = report.made;
  object["made_again"] = report.madeAgain;
  object["bytes_in"] = report.bytesIn;
  object["bytes_out"] = report.bytesOut;
  if (!report.hosts.empty()) {
    object["begin"] = TextOf(report.begin);
    object["end"] = TextOf(report.end);
  }
  object["seconds"] = report.Seconds();
  const auto rate = [&](auto amount) {
    return std::round(PerSecond(static_cast<double>(amount), report) * 1000) / 1000;
  };
  object["books_per_second"] = rate(report.made);
  object["bytes_in_per_second"] = rate(report.bytesIn);
  object["bytes_out_per_second"] = rate(report.bytesOut);
  object["broken_lines"] = report.brokenLines;
  object["failures"] = nlohmann::json::array();
  for (const RunReport::Failures& failures : report.failures) {
    object["failures"].push_back({{"cause", NameOf(failures.cause)},
                                  {"reason", failures.reason},
                                  {"books", failures.books},
                                  {"retry", failures.AreWorthAnotherTry()}});
  }
  object["first_missing"] = report.firstMissing;
  object["slowest"] = nlohmann::json::array();
  for (const RunReport::SlowBook& book : report.slowest) {
    object["slowest"].push_back(
        {{"name", book.name}, {"seconds", book.seconds}, {"host", book.host}});
  }
  object["hosts"] = nlohmann::json::array();
  for (const auto& [host, work] : report.hosts) {
    object["hosts"].push_back({{"host", host}, {"books", work.books}, {"seconds", work.seconds}});
  }
  Say(object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
}

}  // namespace

int RunReportCommand(const ReportArguments& arguments) {
  const RunReport report = ReportOnRun(arguments.journals, arguments.list, arguments.retry);
  arguments.json ? PrintForMachines(report) : PrintForPeople(report);
  return report.IsAllWell() ? kDone : kFailed;
}
