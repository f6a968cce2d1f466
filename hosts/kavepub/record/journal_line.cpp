// Writes and reads lines.
#include "hosts/kavepub/record/journal_line.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <optional>

#include "base/utf8.h"

namespace {

using Json = nlohmann::ordered_json;

constexpr char kName[] = "name";
constexpr char kNameBytes[] = "name_bytes";
constexpr char kResult[] = "result";
constexpr char kCause[] = "cause";
constexpr char kReason[] = "reason";
constexpr char kSeconds[] = "seconds";
constexpr char kBytesIn[] = "bytes_in";
constexpr char kBytesOut[] = "bytes_out";
constexpr char kHost[] = "host";
constexpr char kTime[] = "time";

constexpr std::array<std::string_view, 3> kFates = {"done", "up to date", "failed"};
constexpr std::array kCauses = {Cause::kBook, Cause::kMachine, Cause::kDisk, Cause::kMemory};
constexpr int kBaseOfBytes = 16;
constexpr double kMostSeconds = 1e9;  // thirty years

std::string Digits(std::string_view bytes) {
  std::string digits;
  for (const char byte : bytes) {
    std::array<char, 3> pair;
    std::snprintf(pair.data(), pair.size(), "%02x", static_cast<unsigned char>(byte));
    digits += pair.data();
  }
  return digits;
}

std::string BytesOf(std::string_view digits) {
  std::string bytes;
  for (; digits.size() >= 2; digits.remove_prefix(2)) {
    unsigned char byte = 0;
    std::from_chars(digits.data(), digits.data() + 2, byte, kBaseOfBytes);
    bytes += static_cast<char>(byte);
  }
  return bytes;
}

// The number of so many digits at a place; -1 when something else is there.
int NumberAt(std::string_view text, size_t place, size_t digits) {
  int number = -1;
  const char* end = text.data() + place + digits;
  const auto [stop, error] = std::from_chars(text.data() + place, end, number);
  return error == std::errc() && stop == end ? number : -1;
}

std::optional<JournalLine::Time> TimeOf(std::string_view text) {
  constexpr std::string_view kForm = "2026-01-31T23:59:59.999Z";
  if (text.size() != kForm.size()) return std::nullopt;
  const std::chrono::year_month_day day(
      std::chrono::year(NumberAt(text, 0, 4)),
      std::chrono::month(static_cast<unsigned>(NumberAt(text, 5, 2))),
      std::chrono::day(static_cast<unsigned>(NumberAt(text, 8, 2))));
  const std::array clock = {NumberAt(text, 11, 2), NumberAt(text, 14, 2), NumberAt(text, 17, 2),
                            NumberAt(text, 20, 3)};
  if (!day.ok() || *std::min_element(clock.begin(), clock.end()) < 0) return std::nullopt;
  return std::chrono::sys_days(day) + std::chrono::hours(clock[0]) +
         std::chrono::minutes(clock[1]) + std::chrono::seconds(clock[2]) +
         std::chrono::milliseconds(clock[3]);
}

std::optional<Fate> FateNamed(std::string_view name) {
  const auto* known = std::find(kFates.begin(), kFates.end(), name);
  if (known == kFates.end()) return std::nullopt;
  return static_cast<Fate>(known - kFates.begin());
}

void TakeText(std::string_view field, std::string_view text, JournalLine& line) {
  if (field == kName) line.name = text;
  if (field == kNameBytes) line.name = BytesOf(text);
  if (field == kReason) line.reason = text;
  if (field == kHost) line.host = text;
  if (field == kCause) {
    const auto* known = std::find_if(kCauses.begin(), kCauses.end(),
                                     [&](Cause cause) { return text == NameOf(cause); });
    if (known != kCauses.end()) line.cause = *known;
  }
}

}  // namespace

std::string TextOf(JournalLine::Time time) {
  const auto day = std::chrono::floor<std::chrono::days>(time);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss clock(time - day);
  std::array<char, 32> text;
  std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ",
                static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                static_cast<unsigned>(date.day()), static_cast<int>(clock.hours().count()),
                static_cast<int>(clock.minutes().count()),
                static_cast<int>(clock.seconds().count()),
                static_cast<int>(clock.subseconds().count()));
  return text.data();
}

std::string TextOf(const JournalLine& line) {
  Json object;
  object[kName] = line.name;
  if (ValidUtf8Length(line.name) < line.name.size()) object[kNameBytes] = Digits(line.name);
  object["output"] = line.output;
  object[kResult] = kFates[static_cast<size_t>(line.fate)];
  if (line.fate == Fate::kFailed) {
    object[kCause] = NameOf(line.cause);
    object[kReason] = line.reason;
  }
  object[kSeconds] = std::round(line.seconds * 1000) / 1000;
  if (line.bytesIn > 0) object[kBytesIn] = line.bytesIn;
  if (line.bytesOut > 0) object[kBytesOut] = line.bytesOut;
  if (!line.source.empty()) object["source"] = line.source;
  object[kHost] = line.host;
  object["share"] = line.share;
  object[kTime] = TextOf(line.time);
  return object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

const JournalLine* JournalReader::Read(std::string_view text) {
  padded.assign(text).append(simdjson::SIMDJSON_PADDING, ' ');
  simdjson::dom::object object;
  if (parser.parse(padded.data(), text.size(), false).get(object)) return nullptr;
  line = {};
  std::optional<Fate> fate;
  std::optional<JournalLine::Time> time;
  for (const auto& [field, value] : object) {
    std::string_view string;
    if (field == kSeconds) {
      const bool isSound = value.get(line.seconds) == simdjson::SUCCESS && line.seconds >= 0;
      if (!isSound || line.seconds > kMostSeconds) return nullptr;
    } else if (field == kBytesIn || field == kBytesOut) {
      if (value.get(field == kBytesIn ? line.bytesIn : line.bytesOut)) return nullptr;
    } else if (value.get(string) == simdjson::SUCCESS) {
      if (field == kResult) fate = FateNamed(string);
      if (field == kTime) time = TimeOf(string);
      TakeText(field, string, line);
    }
  }
  if (line.name.empty() || !fate || !time) return nullptr;
  line.fate = *fate;
  line.time = *time;
  return &line;
}
